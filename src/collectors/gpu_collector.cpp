#include "collectors/gpu_collector.h"

#include <algorithm>

#include "collectors/rate.h"
#include "logging/logger.h"

namespace ostrel {
namespace {

std::optional<int64_t> capped(const std::optional<int64_t>& percent) {
    if (!percent) return std::nullopt;
    return std::min<int64_t>(*percent, 100);
}

}  // namespace

GPUCollector::GPUCollector(GpuSource& source, const Clock& clock)
    : source_(source), clock_(clock) {}

void GPUCollector::collectModelInfo(GPUMetrics& metrics, const AcceleratorReading& reading) {
    if (!metrics.model) metrics.model = reading.model;
    if (!metrics.coreCount) metrics.coreCount = reading.coreCount;
}

void GPUCollector::collectPerformanceStats(GPUMetrics& metrics, const AcceleratorReading& reading) {
    if (reading.deviceUtilization) metrics.deviceUtilization = capped(reading.deviceUtilization);
    if (reading.rendererUtilization) {
        metrics.rendererUtilization = capped(reading.rendererUtilization);
    }
    if (reading.tilerUtilization) metrics.tilerUtilization = capped(reading.tilerUtilization);
    if (reading.inUseMemoryBytes) metrics.inUseMemoryBytes = reading.inUseMemoryBytes;
    if (reading.allocatedMemoryBytes) metrics.allocatedMemoryBytes = reading.allocatedMemoryBytes;
}

GPUMetrics GPUCollector::collect() {
    {
        std::lock_guard lock(cacheLock_);
        if (cachedMetrics_ &&
            elapsedSeconds(cachedMetrics_->timestamp, clock_.monotonic()) < cacheValidity) {
            return cachedMetrics_->data;
        }
    }
    // The walk runs outside the lock: two overlapping calls may both walk; the later store wins.
    GPUMetrics metrics;
    auto devices = source_.accelerators();
    if (!devices) {
        Logger::debug("IOServiceGetMatchingServices failed for IOAccelerator",
                      Logger::Category::collection);
    } else {
        for (const AcceleratorReading& device : *devices) {
            collectModelInfo(metrics, device);
            collectPerformanceStats(metrics, device);
            if (metrics.deviceUtilization) break;
        }
    }
    const Duration now = clock_.monotonic();
    std::lock_guard lock(cacheLock_);
    cachedMetrics_ = Cached{metrics, now};
    return metrics;
}

}  // namespace ostrel
