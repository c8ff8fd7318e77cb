#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dashboard/chart_point.h"
#include "dashboard/compact_metric.h"
#include "dashboard/process_aggregate.h"

namespace ostrel {

// The nineteen system series, each named as its chart reads it. Values are in the series'
// unit: percent for CPU, GPU and battery, GB for memory, MB for swap and network, KB/s for
// disk, a level for thermal state and memory pressure.
struct SystemSeries {
    ChartSeries cpuUser, cpuSystem, cpuIdle, cpuUsage;
    ChartSeries memoryActive, memoryWired, memoryCompressed, memoryFree, swapUsed;
    ChartSeries diskRead, diskWrite, networkIn, networkOut;
    ChartSeries gpuUtilization, gpuRenderer, gpuTiler, battery;
    ChartSeries thermalState, memoryPressure;

    static constexpr std::array<ChartSeries SystemSeries::*, 19> kAll = {
        &SystemSeries::cpuUser,          &SystemSeries::cpuSystem,      &SystemSeries::cpuIdle,
        &SystemSeries::cpuUsage,         &SystemSeries::memoryActive,   &SystemSeries::memoryWired,
        &SystemSeries::memoryCompressed, &SystemSeries::memoryFree,     &SystemSeries::swapUsed,
        &SystemSeries::diskRead,         &SystemSeries::diskWrite,      &SystemSeries::networkIn,
        &SystemSeries::networkOut,       &SystemSeries::gpuUtilization, &SystemSeries::gpuRenderer,
        &SystemSeries::gpuTiler,         &SystemSeries::battery,        &SystemSeries::thermalState,
        &SystemSeries::memoryPressure};

    // Each series reduced on its own to at most `maxPoints`.
    SystemSeries downsampled(size_t maxPoints) const;
};

// What the charts, summaries and tables need of a range of samples.
struct CachedChartData {
    SystemSeries series;
    std::vector<ProcessAggregate> topCPU;     // by mean CPU, at most 50
    std::vector<ProcessAggregate> topMemory;  // by mean memory, at most 50
    int64_t sampleCount = 0;
    std::optional<Date> timeRangeStartDate;
    std::optional<Date> timeRangeEndDate;
    // The last sample that has system facts (else the last one), with them.
    std::optional<CompactMetric> latestMetrics;
    // The last sample with its system facts where it has them: the compact record the window's
    // current figures read (device panel, network table, core count).
    std::optional<CompactMetric> lastMetrics;
    std::optional<double> avgCpuIdle;
    std::optional<double> avgCpuUsage;
    std::string peakThermalState = "Unknown";
    std::string peakMemoryPressure = "Unknown";
    std::optional<double> avgSwapUsedMB;
    std::optional<double> avgBatteryPercent;
    std::optional<double> avgGpuUtilization;
    std::optional<double> avgDiskFreeGB;
    std::optional<double> avgMemoryUsedGB;
    std::optional<double> peakMemoryUsedGB;
    int64_t thermalWarningCount = 0;
    int64_t memoryPressureEventCount = 0;
};

}  // namespace ostrel
