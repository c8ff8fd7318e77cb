#pragma once

#include <QFrame>

#include "dashboard/analytics_tables.h"
#include "gui/dashboard/section_widgets.h"

namespace ostrel {

class CompactTableModel;
class CompactTableView;

// "Top Network": the latest sample's processes by traffic, in and out and their total.
class CompactNetworkTable final : public QFrame {
    Q_OBJECT

  public:
    explicit CompactNetworkTable(QWidget* parent = nullptr);

    void display(const NetworkTable& table);

  private:
    SectionWidgets::Heading heading_;
    CompactTableModel* model_;
    CompactTableView* view_;
};

}  // namespace ostrel
