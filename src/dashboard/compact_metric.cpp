#include "dashboard/compact_metric.h"

namespace ostrel {

CompactMetric CompactMetric::from(const ChartSample& sample, bool includeSystemInfo) {
    CompactMetric compact{.timestamp = sample.timestamp,
                          .hostname = sample.hostname,
                          .topCPU = sample.processes.topCPU,
                          .topMemory = sample.processes.topMemory};
    if (const auto& memory = sample.memory) {
        compact.memoryActiveMB = memory->activeMB;
        compact.memoryWiredMB = memory->wiredMB;
        compact.memoryCompressedMB = memory->compressedMB;
        compact.pressureString = memory->pressureString;
    }
    if (sample.cpu) compact.thermalState = sample.cpu->thermalState;
    if (!includeSystemInfo) return compact;
    if (sample.system) compact.system = *sample.system;
    if (sample.cpu) compact.cpuCount = sample.cpu->cpuCount;
    if (sample.memory) compact.totalMemoryMB = sample.memory->totalMB;
    compact.topNetwork = sample.processes.topNetwork;
    return compact;
}

}  // namespace ostrel
