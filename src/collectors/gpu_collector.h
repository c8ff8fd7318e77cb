#pragma once

#include "platform/clock.h"
#include "platform/gpu_source.h"
#include "platform/timed_cache.h"
#include "records/system_metrics.h"

namespace ostrel {

// Fills GPUMetrics from the first device that reports a utilisation, caching the result
// briefly: the interface may sample faster than the devices are worth reading.
class GPUCollector {
  public:
    static constexpr Duration cacheValidity = std::chrono::seconds(2);

    GPUCollector(GpuSource& source, const Clock& clock);

    GPUMetrics collect();

    static void collectModelInfo(GPUMetrics& metrics, const AcceleratorReading& reading);
    static void collectPerformanceStats(GPUMetrics& metrics, const AcceleratorReading& reading);

  private:
    GPUMetrics readDevices();

    GpuSource& source_;
    TimedCache<GPUMetrics> cachedMetrics_;
};

}  // namespace ostrel
