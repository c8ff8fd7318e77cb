#pragma once

#include <QFrame>
#include <functional>
#include <vector>

#include "dashboard/analytics_tables.h"
#include "gui/dashboard/section_widgets.h"

class QHBoxLayout;
class QPushButton;

namespace ostrel {

class CompactTableModel;
class CompactTableView;

// One ranked table of the analytics section ("Top CPU", "Top Memory"): heading with filter
// chips, the column header that sorts, the first rows or the empty text. The sort and the
// filter are the table's own; `build` makes the table for them from the model's current rows.
class CompactProcessTable final : public QFrame {
    Q_OBJECT

  public:
    using Build = std::function<ProcessTable(ProcessFilterMode, ProcessSortMode)>;

    explicit CompactProcessTable(Build build, QWidget* parent = nullptr);

    // Builds and shows the table again, for new rows or new colours.
    void refresh();

  private:
    void showChips(const std::vector<FilterChip>& chips);

    Build build_;
    ProcessSortMode sortMode_ = ProcessSortMode::usage;
    ProcessFilterMode filterMode_ = ProcessFilterMode::all;
    QHBoxLayout* headingRow_;
    SectionWidgets::Heading heading_;
    std::vector<QPushButton*> chips_;
    std::vector<ProcessFilterMode> chipModes_;
    CompactTableModel* model_;
    CompactTableView* view_;
};

}  // namespace ostrel
