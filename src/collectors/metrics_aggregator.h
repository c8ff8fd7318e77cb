#pragma once

#include <mutex>

#include "collectors/cpu_collector.h"
#include "collectors/disk_collector.h"
#include "collectors/gpu_collector.h"
#include "collectors/memory_collector.h"
#include "collectors/network_collector.h"
#include "collectors/power_collector.h"
#include "collectors/process_collector.h"
#include "collectors/system_info_collector.h"
#include "platform/collection_sources.h"
#include "platform/dispatcher.h"
#include "records/monitor_config.h"
#include "records/system_metrics.h"

namespace ostrel {

// Assembles one sample from the collectors, in a fixed order and each under its setting. It
// has no thread of its own: every collector runs inside the call, on the caller's thread, and
// two calls from different threads may overlap.
class MetricsAggregator {
  public:
    // One in this many stored samples logs its timing, at debug level only.
    static constexpr int collectLogInterval = 30;

    // Takes the first baselines at once, so the first real sample has rates. `dispatcher`
    // (whose clock stamps samples and ages caches) must outlive the aggregator.
    MetricsAggregator(CollectionSources sources, ProcessSources processSources,
                      Dispatcher& dispatcher);
    // With this machine's sources.
    explicit MetricsAggregator(Dispatcher& dispatcher);

    // A full sample. Only a sample for storage moves the CPU and disk baselines, so stored
    // rates always cover the time since the previous stored sample, however often the
    // interface samples in between.
    SystemMetrics collectAll(const MonitorConfig& config, bool forStorage);
    // The cheap sample for start-up: no processes, baselines left alone, no timing.
    SystemMetrics collectFastMetrics(const MonitorConfig& config);

    // For watched processes, pins and search.
    ProcessCollector& processCollector() { return processCollector_; }

  private:
    class Timing;

    SystemMetrics collect(const MonitorConfig& config, bool forStorage, bool fast);

    const Clock& clock_;
    CollectionSources sources_;
    CPUCollector cpuCollector_;
    MemoryCollector memoryCollector_;
    DiskCollector diskCollector_;
    NetworkCollector networkCollector_;
    ProcessCollector processCollector_;
    PowerCollector powerCollector_;
    std::mutex collectCountLock_;
    int collectCount_ = 0;
    GPUCollector gpuCollector_;
    SystemInfoCollector systemInfoCollector_;
};

}  // namespace ostrel
