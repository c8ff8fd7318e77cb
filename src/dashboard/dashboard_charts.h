#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dashboard/chart_data.h"
#include "dashboard/chart_zones.h"
#include "dashboard/dashboard_color.h"

namespace ostrel {

enum class ChartKind { cpuStacked, multiSeriesLine, step, simple };

// A closed range of values on the y axis.
struct ValueRange {
    double lower = 0;
    double upper = 0;

    bool operator==(const ValueRange&) const = default;
};

// One drawn series of a chart: which series of `Source` it draws, its legend and its colour.
template <class Source>
struct SeriesDefinition {
    ChartSeries Source::*series = nullptr;
    std::string label;
    DashboardColor color = DashboardColor::primary;
};
using ChartSeriesDefinition = SeriesDefinition<SystemSeries>;

// How a chart's y axis is scaled.
enum class YScale {
    automatic,
    fixed,              // `yDomain`
    zeroToTotalMemory,  // 0 to the machine's memory in GB when known, else automatic
    zeroToAtLeast,      // 0 to the data's largest value, and at least `yDomain.upper`
};

// One chart card of the window.
struct ChartDefinition {
    std::string title;
    ChartKind kind = ChartKind::multiSeriesLine;
    std::vector<ChartSeriesDefinition> series;
    DashboardColor lineColor = DashboardColor::primary;  // step and simple charts
    YScale yScale = YScale::automatic;
    ValueRange yDomain;
    std::vector<ChartZone> zones;  // step charts
    bool showArea = false;
    std::string unitLabel;
    std::string identifier;  // given with each pin
    std::string helpText;
};

// The nine charts, top to bottom.
const std::vector<ChartDefinition>& dashboardCharts();

// The y domain to draw with; absent leaves the scale to the drawing layer.
std::optional<ValueRange> yDomainFor(const ChartDefinition& chart, const SystemSeries& shown,
                                     std::optional<double> totalMemoryMB);

// The card's subtitle: the averages of the GPU, battery and swap cards, else empty.
std::string chartSubtitle(const ChartDefinition& chart, const CachedChartData& cached);

}  // namespace ostrel
