#pragma once

#include <mutex>
#include <optional>

#include "platform/clock.h"
#include "platform/disk_source.h"
#include "platform/timed_cache.h"
#include "records/system_metrics.h"

namespace ostrel {

// Fills DiskMetrics: boot-volume capacity, and read and write rates since the baseline. The
// device counters are cached briefly because the interface may sample faster than they are
// worth reading.
class DiskCollector {
  public:
    static constexpr Duration cacheValidity = std::chrono::milliseconds(1500);

    // Takes the first baseline.
    DiskCollector(DiskSource& source, const Clock& clock);

    void seed();
    std::optional<DiskIOCounters> readDiskIOStats();
    void collectDiskSpace(DiskMetrics& metrics);
    void collectDiskIO(DiskMetrics& metrics, bool updateBaseline);

  private:
    struct Reading {
        DiskIOCounters counters;
        Duration timestamp;  // monotonic
    };

    DiskSource& source_;
    const Clock& clock_;
    std::mutex sampleLock_;
    std::optional<Reading> lastIOSample_;
    TimedCache<DiskIOCounters> cachedIOStats_;
};

}  // namespace ostrel
