#pragma once

#include <mutex>
#include <optional>

#include "platform/clock.h"
#include "platform/cpu_source.h"
#include "records/system_metrics.h"

namespace ostrel {

// Fills CPUMetrics: load averages, busy shares since the baseline tick sample, thermal state.
// The baseline moves only when the caller says so, so that interface samples between two
// stored ones all measure against the last stored sample. A sample less than
// kMinimumShareWindow after the baseline has no shares and leaves the baseline where it is, so
// that a sample right after launch does not report a tick or two as the machine's load.
class CPUCollector {
  public:
    CPUCollector(CpuSource& source, const Clock& clock);

    // Takes the first baseline.
    void seed();
    int64_t processorCount();
    // Needs `cpuCount` already set in `metrics`.
    void collectLoadAverages(CPUMetrics& metrics);
    void collectUsagePercentages(CPUMetrics& metrics, bool updateBaseline);
    void collectThermalState(CPUMetrics& metrics);

  private:
    struct Baseline {
        CpuTicks ticks;
        Duration takenAt;  // monotonic
    };

    CpuSource& source_;
    const Clock& clock_;
    std::mutex sampleLock_;
    std::optional<Baseline> lastTickSample_;
};

}  // namespace ostrel
