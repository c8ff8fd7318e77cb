#pragma once

#include <optional>
#include <string>

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/dashboard_section.h"

class QHBoxLayout;
class QLabel;
class QPushButton;

namespace ostrel {

class ProcessPillSelector;

// The bar under the system charts that picks the watched process whose charts show below:
// "Pinned Process", the pill selector (or "None available"), a clear button and the count.
class ProcessSelectionBar final : public DashboardSection {
    Q_OBJECT

  public:
    explicit ProcessSelectionBar(DashboardViewModel& model, QWidget* parent = nullptr);

  private:
    void refresh() override;

    QLabel* pin_;
    QLabel* title_;
    QLabel* none_;
    ProcessPillSelector* pill_;
    QPushButton* clear_;
    QLabel* tracked_;
};

}  // namespace ostrel
