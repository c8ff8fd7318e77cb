#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dashboard/chart_sample.h"
#include "records/system_metrics.h"

namespace ostrel {

// What the window shows of one sample once the charts are built: the device panel, the
// network table and the core count for normalising CPU read it.
struct CompactMetric {
    std::string timestamp;
    std::string hostname;
    std::optional<double> memoryActiveMB;
    std::optional<double> memoryWiredMB;
    std::optional<double> memoryCompressedMB;
    std::optional<std::string> thermalState;
    std::optional<std::string> pressureString;
    std::optional<std::vector<CompactProcess>> topCPU;
    std::optional<std::vector<CompactProcess>> topMemory;
    // Filled only when asked for: constant over a source, so one record carries them.
    std::optional<SystemInfo> system;
    std::optional<int64_t> cpuCount;
    std::optional<double> totalMemoryMB;
    std::optional<std::vector<ProcessNetworkInfo>> topNetwork;

    static CompactMetric from(const ChartSample& sample, bool includeSystemInfo);

    bool operator==(const CompactMetric&) const = default;
};

}  // namespace ostrel
