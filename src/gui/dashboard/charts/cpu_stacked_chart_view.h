#pragma once

#include <array>

#include "gui/dashboard/charts/dashboard_chart_view.h"

namespace ostrel {

// User time in orange under system time in red, stacked from 0 to 100%; the tooltip totals
// both and lists the moment's processes, and a drag shows how long the span is.
class CPUStackedChartView final : public DashboardChartView {
  public:
    using DashboardChartView::DashboardChartView;

    void setData(ChartSeries userData, ChartSeries systemData, bool normalizeCPU);

  protected:
    void rebuildSeries() override;
    std::optional<TooltipContent> tooltipAt(Date date, bool isLinked) const override;
    bool showsDragDuration() const override { return true; }

  private:
    static constexpr size_t kUser = 0, kSystem = 1;
    std::array<ChartSeries, 2> data_;
    bool normalizeCPU_ = false;
};

}  // namespace ostrel
