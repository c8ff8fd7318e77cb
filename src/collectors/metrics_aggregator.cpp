#include "collectors/metrics_aggregator.h"

#include <fmt/format.h>

#include <string>
#include <vector>

#include "logging/logger.h"
#include "records/formatters.h"

namespace ostrel {

// Milliseconds per collector, measured only when asked: at other levels not even the clock is
// read.
class MetricsAggregator::Timing {
  public:
    Timing(const Clock& clock, bool enabled) : clock_(clock), enabled_(enabled) {
        if (enabled_) start_ = last_ = clock_.monotonic();
    }

    void lap(const char* label) {
        if (!enabled_) return;
        const Duration now = clock_.monotonic();
        laps_.push_back({label, milliseconds(now - last_)});
        last_ = now;
    }

    // "Metrics collected in 12.3ms [cpu=0.1ms, mem=0.2ms]"
    std::string summary() const {
        std::string text =
            fmt::format("Metrics collected in {:.1f}ms [", milliseconds(last_ - start_));
        for (size_t i = 0; i < laps_.size(); ++i) {
            if (i > 0) text += ", ";
            text += fmt::format("{}={:.1f}ms", laps_[i].first, laps_[i].second);
        }
        return text + "]";
    }

  private:
    static double milliseconds(Duration duration) {
        return std::chrono::duration<double, std::milli>(duration).count();
    }

    const Clock& clock_;
    const bool enabled_;
    Duration start_{0};
    Duration last_{0};
    std::vector<std::pair<const char*, double>> laps_;
};

MetricsAggregator::MetricsAggregator(CollectionSources sources, ProcessSources processSources,
                                     Dispatcher& dispatcher)
    : clock_(dispatcher.clock()),
      sources_(std::move(sources)),
      cpuCollector_(*sources_.cpu, clock_),
      memoryCollector_(*sources_.memory),
      diskCollector_(*sources_.disk, clock_),
      networkCollector_(*sources_.network),
      processCollector_(std::move(processSources), dispatcher),
      powerCollector_(*sources_.power),
      gpuCollector_(*sources_.gpu, clock_),
      systemInfoCollector_(*sources_.system, *sources_.gpu, clock_) {
    cpuCollector_.seed();
}

MetricsAggregator::MetricsAggregator(Dispatcher& dispatcher)
    : MetricsAggregator(makePlatformCollectionSources(dispatcher.clock()),
                        makePlatformProcessSources(dispatcher.clock()), dispatcher) {}

SystemMetrics MetricsAggregator::collectAll(const MonitorConfig& config, bool forStorage) {
    return collect(config, forStorage, false);
}

SystemMetrics MetricsAggregator::collectFastMetrics(const MonitorConfig& config) {
    return collect(config, false, true);
}

SystemMetrics MetricsAggregator::collect(const MonitorConfig& config, bool forStorage, bool fast) {
    // Only full samples at debug level are timed and counted.
    const bool timed = !fast && config.logLevel == LogLevel::debug;
    Timing timing(clock_, timed);
    SystemMetrics metrics;
    metrics.timestamp = Formatters::localIso8601WithOffset(clock_.now());
    metrics.hostname = sources_.system->hostName();

    if (config.collectCPU) {
        CPUMetrics cpu;
        cpu.cpuCount = cpuCollector_.processorCount();
        cpuCollector_.collectLoadAverages(cpu);
        cpuCollector_.collectUsagePercentages(cpu, forStorage);
        cpuCollector_.collectThermalState(cpu);
        metrics.cpu = std::move(cpu);
        timing.lap("cpu");
    }
    if (config.collectMemory) {
        metrics.memory = memoryCollector_.collect();
        timing.lap("mem");
    }
    if (config.collectDisk) {
        DiskMetrics disk;
        diskCollector_.collectDiskSpace(disk);
        diskCollector_.collectDiskIO(disk, forStorage);
        metrics.disk = std::move(disk);
        timing.lap("disk");
    }
    if (config.collectNetwork) {
        metrics.network = networkCollector_.collect();
        timing.lap("net");
    }
    if (config.collectProcesses && !fast) {
        ProcessMetrics processes = processCollector_.collect();
        if (config.collectNetwork) processes.topNetwork = processCollector_.collectNetworkStats(5);
        if (config.collectDisk) processes.topDisk = processCollector_.collectDiskStats(5);
        metrics.processes = std::move(processes);
        timing.lap("proc");
    }
    if (config.collectPower) {
        PowerMetrics power;
        powerCollector_.collectBatteryInfo(power);
        powerCollector_.collectSleepAssertions(power);
        metrics.power = std::move(power);
        timing.lap("power");
    }
    if (config.collectGPU) {
        metrics.gpu = gpuCollector_.collect();
        timing.lap("gpu");
    }
    if (config.collectSystem) {
        metrics.system = systemInfoCollector_.collect();
        timing.lap("sys");
    }

    if (timed) {
        bool due = false;
        {
            std::lock_guard lock(collectCountLock_);
            if (++collectCount_ >= collectLogInterval) {
                collectCount_ = 0;
                due = true;
            }
        }
        if (due) Logger::debug(timing.summary(), Logger::Category::collection);
    }
    return metrics;
}

}  // namespace ostrel
