#include "collectors/gpu_collector.h"

#include <algorithm>

#include "logging/logger.h"

namespace ostrel {
namespace {

std::optional<int64_t> capped(const std::optional<int64_t>& percent) {
    if (!percent) return std::nullopt;
    return std::min<int64_t>(*percent, 100);
}

}  // namespace

GPUCollector::GPUCollector(GpuSource& source, const Clock& clock)
    : source_(source), cachedMetrics_(clock, cacheValidity) {}

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
    // Every result is kept, an empty one too: a machine without a device is not asked again
    // until the cache expires.
    return *cachedMetrics_.get([this] { return readDevices(); });
}

GPUMetrics GPUCollector::readDevices() {
    GPUMetrics metrics;
    auto devices = source_.accelerators();
    if (!devices) {
        Logger::debug("IOServiceGetMatchingServices failed for IOAccelerator",
                      Logger::Category::collection);
        return metrics;
    }
    for (const AcceleratorReading& device : *devices) {
        collectModelInfo(metrics, device);
        collectPerformanceStats(metrics, device);
        if (metrics.deviceUtilization) break;
    }
    return metrics;
}

}  // namespace ostrel
