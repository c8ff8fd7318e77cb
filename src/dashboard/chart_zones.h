#pragma once

#include <string>
#include <vector>

#include "dashboard/dashboard_color.h"

namespace ostrel {

// A band of a step chart's levels, ends included.
struct ChartZone {
    double lower = 0;
    double upper = 0;
    DashboardColor color = DashboardColor::gray;
    std::string label;

    bool contains(double value) const { return value >= lower && value <= upper; }
};

struct ZoneLabel {
    std::string label;
    DashboardColor color = DashboardColor::gray;

    bool operator==(const ZoneLabel&) const = default;
};

namespace StepChart {

// The first zone holding the value, else "Unknown" in gray.
ZoneLabel zoneLabel(const std::vector<ChartZone>& zones, double value);
// The last zone holding the value, else gray. On the boundary of two zones the point takes the
// upper zone's colour while its label names the lower one; the charts show it that way.
DashboardColor pointColor(const std::vector<ChartZone>& zones, double value);

}  // namespace StepChart
}  // namespace ostrel
