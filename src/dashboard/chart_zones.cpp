#include "dashboard/chart_zones.h"

#include <algorithm>

namespace ostrel::StepChart {

ZoneLabel zoneLabel(const std::vector<ChartZone>& zones, double value) {
    const auto zone = std::ranges::find_if(zones, [&](const auto& z) { return z.contains(value); });
    if (zone == zones.end()) return {"Unknown", DashboardColor::gray};
    return {zone->label, zone->color};
}

DashboardColor pointColor(const std::vector<ChartZone>& zones, double value) {
    const auto zone = std::find_if(zones.rbegin(), zones.rend(),
                                   [&](const auto& z) { return z.contains(value); });
    return zone == zones.rend() ? DashboardColor::gray : zone->color;
}

}  // namespace ostrel::StepChart
