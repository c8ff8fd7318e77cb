#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "dashboard/chart_point.h"
#include "dashboard/dashboard_dates.h"
#include "dashboard/process_aggregate.h"

namespace ostrel {

class DashboardViewModel;

// The figures the hero strip and the summary row read, copied out of the model so that their
// rules are plain functions of values.
struct DashboardFigures {
    std::optional<double> avgCpuUsage;                    // of the whole source
    std::optional<std::pair<double, Date>> peakCpuUsage;  // value and moment
    ChartSeries cpuUsage;                                 // as shown
    std::optional<double> avgMemoryUsedGB;
    std::optional<double> peakMemoryUsedGB;
    ChartSeries memoryUsed;
    std::string peakMemoryPressure = "Unknown";
    ChartSeries memoryPressure;
    std::optional<double> avgSwapUsedMB;
    int64_t thermalWarningCount = 0;
    int64_t memoryPressureEventCount = 0;
    int64_t totalNetworkBytesIn = 0;
    int64_t totalNetworkBytesOut = 0;
    std::optional<ProcessAggregate> topCpuConsumer;
    std::optional<SourceTimeZone> sourceTimezone;

    static DashboardFigures of(const DashboardViewModel& model);
};

}  // namespace ostrel
