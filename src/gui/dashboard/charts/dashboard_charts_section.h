#pragma once

#include <QWidget>
#include <vector>

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/charts/chart_model_binding.h"
#include "gui/dashboard/deferred_refresh.h"

namespace ostrel {

class ChartCard;

// The window's nine system charts in a grid, fed from the model's shown series: their titles,
// help texts, averages and scales as the chart table has them. Redrawn when the model's data
// change; a pin or a pointer only repaints the charts' overlays.
class DashboardChartsSection final : public QWidget {
  public:
    static constexpr int kChartHeight = 180;

    explicit DashboardChartsSection(DashboardViewModel& model, QWidget* parent = nullptr);

    // In the order of the chart table.
    const std::vector<ChartCard*>& cards() const { return cards_; }
    // Takes the model's current series now rather than from the event loop.
    void refresh();

  private:
    DashboardViewModel& model_;
    ChartModelBinding binding_;
    std::vector<ChartCard*> cards_;
    DeferredRefresh refresh_;
};

}  // namespace ostrel
