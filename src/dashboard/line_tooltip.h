#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dashboard/chart_point.h"
#include "dashboard/cpu_tooltip.h"
#include "dashboard/dashboard_color.h"
#include "dashboard/dashboard_dates.h"

namespace ostrel {

struct LineTooltipRow {
    std::string label;
    std::string value;  // through formatValue
    DashboardColor color = DashboardColor::primary;

    bool operator==(const LineTooltipRow&) const = default;
};

struct NetworkTooltipProcess {
    int64_t pid = 0;
    std::string name;
    std::string bytesIn;   // shown in blue
    std::string bytesOut;  // shown in cyan

    bool operator==(const NetworkTooltipProcess&) const = default;
};

struct DiskTooltipProcess {
    int64_t pid = 0;
    std::string name;
    std::string read;
    std::string write;

    bool operator==(const DiskTooltipProcess&) const = default;
};

// What a multi-series line chart's tooltip shows at the points nearest to a moment: a row per
// series, then the process list attached to the first of those points that has one.
struct LineTooltip {
    std::string time;
    std::vector<LineTooltipRow> rows;
    std::vector<NetworkTooltipProcess> networkProcesses;
    std::vector<DiskTooltipProcess> diskProcesses;
    std::vector<TooltipProcess> processes;
    bool isLinked = false;

    bool operator==(const LineTooltip&) const = default;
};

// Absent when every series is empty. `labels` and `colors` run alongside `series`.
std::optional<LineTooltip> lineTooltip(const std::vector<ChartSeries>& series,
                                       const std::vector<std::string>& labels,
                                       const std::vector<DashboardColor>& colors, Date date,
                                       const std::optional<SourceTimeZone>& zone, bool isLinked);

}  // namespace ostrel
