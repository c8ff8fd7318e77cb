#pragma once

#include <mutex>
#include <optional>

#include "platform/clock.h"
#include "platform/gpu_source.h"
#include "records/system_metrics.h"

namespace ostrel {

// Fills GPUMetrics from the first device that reports a utilisation, caching the result
// briefly: the interface may sample faster than the devices are worth reading.
class GPUCollector {
  public:
    static constexpr double cacheValidity = 2.0;

    GPUCollector(GpuSource& source, const Clock& clock);

    GPUMetrics collect();

    static void collectModelInfo(GPUMetrics& metrics, const AcceleratorReading& reading);
    static void collectPerformanceStats(GPUMetrics& metrics, const AcceleratorReading& reading);

  private:
    struct Cached {
        GPUMetrics data;
        Duration timestamp;  // monotonic
    };

    GpuSource& source_;
    const Clock& clock_;
    std::mutex cacheLock_;
    std::optional<Cached> cachedMetrics_;
};

}  // namespace ostrel
