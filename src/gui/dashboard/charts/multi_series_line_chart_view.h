#pragma once

#include <optional>
#include <string>
#include <vector>

#include "gui/dashboard/charts/dashboard_chart_view.h"

namespace ostrel {

// Lines of several series on one scale, each in its colour with its label in the legend and
// the tooltip; the tooltip lists the processes attached to the nearest points.
class MultiSeriesLineChartView final : public DashboardChartView {
  public:
    using DashboardChartView::DashboardChartView;

    void setSeriesData(std::vector<ChartSeries> seriesData, std::vector<std::string> seriesLabels,
                       std::vector<DashboardColor> seriesColors,
                       std::optional<ValueRange> yDomain = std::nullopt);

  protected:
    void rebuildSeries() override;
    std::optional<TooltipContent> tooltipAt(Date date, bool isLinked) const override;

  private:
    std::vector<ChartSeries> seriesData_;
    std::vector<std::string> seriesLabels_;
    std::vector<DashboardColor> seriesColors_;
    std::optional<ValueRange> yDomain_;
};

}  // namespace ostrel
