#pragma once

#include <mutex>
#include <optional>

#include "platform/cpu_source.h"
#include "records/system_metrics.h"

namespace ostrel {

// Fills CPUMetrics: load averages, busy shares since the baseline tick sample, thermal state.
// The baseline moves only when the caller says so, so that interface samples between two
// stored ones all measure against the last stored sample.
class CPUCollector {
  public:
    explicit CPUCollector(CpuSource& source);

    // Takes the first baseline.
    void seed();
    int64_t processorCount();
    // Needs `cpuCount` already set in `metrics`.
    void collectLoadAverages(CPUMetrics& metrics);
    void collectUsagePercentages(CPUMetrics& metrics, bool updateBaseline);
    void collectThermalState(CPUMetrics& metrics);

  private:
    CpuSource& source_;
    std::mutex sampleLock_;
    std::optional<CpuTicks> lastTickSample_;
};

}  // namespace ostrel
