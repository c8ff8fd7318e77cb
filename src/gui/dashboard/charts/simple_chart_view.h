#pragma once

#include <functional>
#include <optional>
#include <string>

#include "gui/dashboard/charts/dashboard_chart_view.h"

namespace ostrel {

// How a simple chart draws its one series.
struct SimpleChartStyle {
    DashboardColor color = DashboardColor::primary;
    bool showArea = false;
    std::function<std::string(double)> valueFormatter;  // the tooltip's; formatValue when empty
    std::string unitLabel;                              // after the values: "%"
};

// One series as a line, over a filled area if the style asks for it.
class SimpleChartView final : public DashboardChartView {
  public:
    SimpleChartView(std::string identifier, SimpleChartStyle style, QWidget* parent = nullptr);

    void setData(ChartSeries series, std::optional<ValueRange> yDomain = std::nullopt);

  protected:
    void rebuildSeries() override;
    std::optional<TooltipContent> tooltipAt(Date date, bool isLinked) const override;

  private:
    SimpleChartStyle style_;
    ChartSeries data_;
    std::optional<ValueRange> yDomain_;
};

}  // namespace ostrel
