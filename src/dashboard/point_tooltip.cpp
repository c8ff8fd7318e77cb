#include "dashboard/point_tooltip.h"

#include "dashboard/chart_formatters.h"
#include "dashboard/chart_geometry.h"

namespace ostrel {

std::optional<PointTooltip> stepTooltip(const ChartSeries& series,
                                        const std::vector<ChartZone>& zones, Date date,
                                        const std::optional<SourceTimeZone>& zone, bool isLinked) {
    const auto index = findClosest(series, date);
    if (!index) return std::nullopt;
    const ChartPoint& point = series[*index];
    ZoneLabel level = StepChart::zoneLabel(zones, point.value);
    return PointTooltip{ChartFormatters::time(point.date, zone), std::move(level.label),
                        level.color, isLinked};
}

std::optional<PointTooltip> simpleTooltip(const ChartSeries& series, DashboardColor color,
                                          const std::function<std::string(double)>& formatter,
                                          const std::string& unitLabel, Date date,
                                          const std::optional<SourceTimeZone>& zone,
                                          bool isLinked) {
    const auto index = findClosest(series, date);
    if (!index) return std::nullopt;
    const ChartPoint& point = series[*index];
    const std::string value =
        formatter ? formatter(point.value) : ChartFormatters::formatValue(point.value);
    return PointTooltip{ChartFormatters::time(point.date, zone), value + unitLabel, color,
                        isLinked};
}

}  // namespace ostrel
