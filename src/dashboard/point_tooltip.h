#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "dashboard/chart_point.h"
#include "dashboard/chart_zones.h"
#include "dashboard/dashboard_color.h"
#include "dashboard/dashboard_dates.h"

namespace ostrel {

// What the tooltip of a one-series chart shows at the point nearest to a moment.
struct PointTooltip {
    std::string time;
    std::string value;
    DashboardColor color = DashboardColor::primary;
    bool isLinked = false;

    bool operator==(const PointTooltip&) const = default;
};

// A step chart reads its level as the zone's label, in the zone's colour. Absent for no data.
std::optional<PointTooltip> stepTooltip(const ChartSeries& series,
                                        const std::vector<ChartZone>& zones, Date date,
                                        const std::optional<SourceTimeZone>& zone, bool isLinked);

// A simple chart shows its value through its own formatter (else formatValue), followed by its
// unit. Absent for no data.
std::optional<PointTooltip> simpleTooltip(const ChartSeries& series, DashboardColor color,
                                          const std::function<std::string(double)>& formatter,
                                          const std::string& unitLabel, Date date,
                                          const std::optional<SourceTimeZone>& zone, bool isLinked);

}  // namespace ostrel
