#pragma once

#include <vector>

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/charts/chart_model_binding.h"
#include "gui/dashboard/dashboard_section.h"

namespace ostrel {

class ChartCard;

// The window's nine system charts in a grid, fed from the model's shown series: their titles,
// help texts, averages and scales as the chart table has them. Redrawn when the model's data
// change; a pin or a pointer only repaints the charts' overlays.
class DashboardChartsSection final : public DashboardSection {
  public:
    static constexpr int kChartHeight = 180;

    explicit DashboardChartsSection(DashboardViewModel& model, QWidget* parent = nullptr);

    // In the order of the chart table.
    const std::vector<ChartCard*>& cards() const { return cards_; }

  protected:
    void refresh() override;

  private:
    ChartModelBinding binding_;
    std::vector<ChartCard*> cards_;
};

}  // namespace ostrel
