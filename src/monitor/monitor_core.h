#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "alerts/alert_manager.h"
#include "collectors/metrics_aggregator.h"
#include "monitor/performance_monitor.h"
#include "storage/metrics_storage.h"

namespace ostrel {

// The part of the monitor that timer handlers, queued stages and upload tasks share. They hold
// this rather than the monitor, so none of them keeps the monitor alive or releases it on a
// queue of its own.
struct PerformanceMonitor::Core {
    Core(Dispatcher& dispatcherToUse, AlertManager& sharedAlertManager,
         std::shared_ptr<MetricsAggregator> aggregator, std::shared_ptr<MetricsStorage> store)
        : dispatcher(dispatcherToUse),
          alertManager(sharedAlertManager),
          collector(std::move(aggregator)),
          storage(std::move(store)) {}

    // The settings as one unchanging whole, replaced on every change: a sample keeps the one
    // it began with at the price of a reference count, not a copy of every string in it.
    std::shared_ptr<const MonitorConfig> configSnapshot() const {
        std::lock_guard lock(configLock);
        return config;
    }
    MonitorConfig configCopy() const { return *configSnapshot(); }
    void setConfig(MonitorConfig newConfig) {
        auto replacement = std::make_shared<const MonitorConfig>(std::move(newConfig));
        std::lock_guard lock(configLock);
        config = std::move(replacement);
    }
    // One change made whole under the lock, so that no other change in between is lost.
    template <class Change>
    void changeConfig(Change&& change) {
        std::lock_guard lock(configLock);
        MonitorConfig changed = *config;
        std::forward<Change>(change)(changed);
        config = std::make_shared<const MonitorConfig>(std::move(changed));
    }
    std::vector<std::string> pinsCopy() const {
        std::lock_guard lock(pinnedLock);
        return pins;
    }

    // One entry per pin (prefix, any case), then one per watched name (exact), in list order,
    // over the collector's last process list.
    std::vector<WatchedProcessMetrics> aggregateWatched(
        const std::vector<std::string>& pinList, const std::vector<std::string>& names) const {
        std::vector<WatchedProcessMetrics> watched;
        watched.reserve(pinList.size() + names.size());
        for (const std::string& pin : pinList)
            watched.push_back(collector->processCollector().aggregateByPrefix(pin));
        for (const std::string& name : names)
            watched.push_back(collector->processCollector().aggregateByExactName(name));
        return watched;
    }

    Dispatcher& dispatcher;
    AlertManager& alertManager;
    const std::shared_ptr<MetricsAggregator> collector;
    const std::shared_ptr<MetricsStorage> storage;

    // Each guards the field below it; held for a copy or an assignment only, never together.
    mutable std::mutex configLock;
    std::shared_ptr<const MonitorConfig> config = std::make_shared<const MonitorConfig>();
    mutable std::mutex pinnedLock;
    std::vector<std::string> pins;
};

// One wake's wait for a usable path; on the main queue only.
struct PerformanceMonitor::WakeWait {
    uint64_t id = 0;
    // Declared before the path monitor, which posts to it until it is gone.
    std::shared_ptr<SerialQueue> queue;
    std::unique_ptr<NetworkPathMonitor> path;
    std::unique_ptr<Timer> timeout;
};

}  // namespace ostrel
