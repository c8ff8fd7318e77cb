#pragma once

#include <vector>

#include "dashboard/chart_zones.h"
#include "gui/dashboard/charts/dashboard_chart_view.h"

namespace ostrel {

// A level held until it changes, over its zones drawn as bands; each point takes its zone's
// colour, and the tooltip names the zone.
class StepChartView final : public DashboardChartView {
  public:
    using DashboardChartView::DashboardChartView;

    void setData(ChartSeries series, std::vector<ChartZone> zones, ValueRange yDomain,
                 DashboardColor lineColor);

  protected:
    void rebuildSeries() override;
    std::optional<TooltipContent> tooltipAt(Date date, bool isLinked) const override;

  private:
    ChartSeries data_;
    std::vector<ChartZone> zones_;
    ValueRange yDomain_;
    DashboardColor lineColor_ = DashboardColor::primary;
};

}  // namespace ostrel
