#pragma once

#include <vector>

#include "dashboard/alert_history.h"
#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/dashboard_section.h"
#include "gui/dashboard/section_widgets.h"

class QLabel;
class QVBoxLayout;

namespace ostrel {

class AlertCardView;

// "Alert History": the loaded day's alerts as cards, one of them open at most, or "No alerts"
// while the day has none.
class AlertHistoryView final : public DashboardSection {
    Q_OBJECT

  public:
    explicit AlertHistoryView(DashboardViewModel& model, QWidget* parent = nullptr);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void refresh() override;
    void toggle(const std::string& alertId);
    // Replaces the cards whose content changed.
    void showCards();

    AlertHistory history_;
    bool alertsChanged_ = true;
    SectionWidgets::Heading heading_;
    QLabel* count_;
    QWidget* empty_;
    QLabel* emptyTitle_;
    QLabel* emptyDetail_;
    QWidget* cardsBox_;
    QVBoxLayout* cardsLayout_;
    std::vector<AlertCard> shownCards_;
    std::vector<AlertCardView*> cards_;
    Published<std::vector<AlertEvent>>::Subscription alerts_;
};

}  // namespace ostrel
