#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dashboard/chart_point.h"
#include "dashboard/dashboard_color.h"
#include "dashboard/dashboard_dates.h"

namespace ostrel {

// A process line of a tooltip, with its CPU as the chart's setting shows it.
struct TooltipProcess {
    int64_t pid = 0;
    std::string name;
    std::string cpu;  // "%.1f%%"
    std::string memory;

    bool operator==(const TooltipProcess&) const = default;
};

// What the CPU chart's tooltip shows at the points nearest to a moment.
struct CPUTooltip {
    std::string time;
    std::string total;  // "Total: 42.0%"
    DashboardColor totalColor = DashboardColor::green;
    std::vector<TooltipProcess> processes;  // empty: "No process data"
    bool isLinked = false;                  // shows another chart's pin

    bool operator==(const CPUTooltip&) const = default;
};

// Green below 50, yellow below 80, red from 80 on.
DashboardColor cpuTotalColor(double total);
// A process's CPU in percent of one core, or with `normalize` as a share of all its sample's
// cores: 400% on 4 of 10 cores reads 40%.
double shownCPU(const ProcessSnapshot& process, bool normalize);
// Absent when both series are empty.
std::optional<CPUTooltip> cpuTooltip(const ChartSeries& user, const ChartSeries& system, Date date,
                                     bool normalizeCPU, const std::optional<SourceTimeZone>& zone,
                                     bool isLinked);

}  // namespace ostrel
