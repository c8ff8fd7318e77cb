// Pinned processes (the user's, kept in preferences, matched by prefix ignoring case) and
// watched processes (the settings', matched exactly), and the popup's process search.
#include <algorithm>

#include "collectors/process_text.h"
#include "logging/logger.h"
#include "monitor/monitor_core.h"
#include "monitor/performance_monitor.h"
#include "platform/preferences_store.h"

namespace ostrel {

void PerformanceMonitor::publishPins() {
    pinnedProcesses.set(core_->pinsCopy());
}

void PerformanceMonitor::loadPinnedProcesses() {
    // The stored list is taken as it is, also beyond the limit: only new pins are checked.
    std::optional<std::vector<std::string>> stored = preferences_->stringArray(kPinnedProcessesKey);
    if (!stored) return;
    {
        std::lock_guard lock(core_->pinnedLock);
        core_->pins = std::move(*stored);
    }
    publishPins();
}

void PerformanceMonitor::savePinnedProcesses() {
    preferences_->set(kPinnedProcessesKey, PreferenceValue(core_->pinsCopy()));
}

bool PerformanceMonitor::isPinned(const std::string& name) const {
    const std::string wanted = asciiLowered(name);
    std::lock_guard lock(core_->pinnedLock);
    return std::any_of(core_->pins.begin(), core_->pins.end(),
                       [&](const std::string& pin) { return asciiLowered(pin) == wanted; });
}

bool PerformanceMonitor::pinProcess(const std::string& name) {
    const std::string trimmed(trimBlanks(name));
    if (trimmed.empty() || isPinned(trimmed)) return false;
    {
        // The main queue is the only writer, so nothing comes between the checks and this.
        std::lock_guard lock(core_->pinnedLock);
        if (core_->pins.size() >= kMaxPinnedProcesses) return false;
        core_->pins.push_back(trimmed);
    }
    publishPins();
    savePinnedProcesses();
    core_->storage->logAudit("process_pinned", {{"pattern", trimmed}});
    // The new row shows before the next sample.
    refreshWatchedMetrics();
    return true;
}

void PerformanceMonitor::unpinProcess(const std::string& name) {
    const std::string lowered = asciiLowered(name);
    const auto matches = [&](const std::string& text) { return asciiLowered(text) == lowered; };
    {
        std::lock_guard lock(core_->pinnedLock);
        std::erase_if(core_->pins, matches);
    }
    publishPins();
    savePinnedProcesses();
    // A watched entry of the same name goes too, until the next sample brings it back.
    watchedMetrics.modify([&](std::vector<WatchedProcessMetrics>& watched) {
        std::erase_if(watched, [&](const WatchedProcessMetrics& w) { return matches(w.pattern); });
    });
    core_->storage->logAudit("process_unpinned", {{"pattern", name}});
}

void PerformanceMonitor::clearPinnedProcesses() {
    {
        std::lock_guard lock(core_->pinnedLock);
        core_->pins.clear();
    }
    publishPins();
    savePinnedProcesses();
    const std::vector<std::string> names = core_->configCopy().watchedProcesses;
    watchedMetrics.modify([&](std::vector<WatchedProcessMetrics>& watched) {
        std::erase_if(watched, [&](const WatchedProcessMetrics& w) {
            return std::find(names.begin(), names.end(), w.pattern) == names.end();
        });
    });
    core_->storage->logAudit("pinned_processes_cleared");
}

void PerformanceMonitor::refreshWatchedMetrics() {
    std::vector<std::string> pins = core_->pinsCopy();
    std::vector<std::string> names = core_->configCopy().watchedProcesses;
    if (pins.empty() && names.empty()) {
        watchedMetrics.set({});
        return;
    }
    collectionQueue_->async(
        [core = core_, weak = weak_from_this(), pins = std::move(pins), names = std::move(names)] {
            if (weak.expired()) return;
            std::vector<WatchedProcessMetrics> watched = core->aggregateWatched(pins, names);
            core->dispatcher.mainQueue().async([weak, watched = std::move(watched)]() mutable {
                if (auto self = weak.lock()) self->watchedMetrics.set(std::move(watched));
            });
        });
}

void PerformanceMonitor::searchProcesses(const std::string& query) {
    processSearchQuery.set(query);
    if (query.empty()) {
        processSearchResults.set({});
        return;
    }
    const bool aggregate = core_->configCopy().aggregateProcesses;
    // A slower search that ends later overwrites; the serial queue keeps them in order.
    collectionQueue_->async([core = core_, weak = weak_from_this(), query, aggregate] {
        if (weak.expired()) return;
        std::vector<ProcessSearchResult> results =
            core->collector->processCollector().searchProcesses(query, kSearchResultLimit,
                                                                aggregate);
        core->dispatcher.mainQueue().async([weak, results = std::move(results)]() mutable {
            if (auto self = weak.lock()) self->processSearchResults.set(std::move(results));
        });
    });
}

void PerformanceMonitor::saveWatchedProcessEvents(const std::vector<WatchedProcessMetrics>& watched,
                                                  const SystemMetrics& metrics,
                                                  MetricsStorage& storage) {
    for (const WatchedProcessMetrics& entry : watched) {
        // An absent process writes nothing; its row still shows with a count of 0.
        if (entry.processCount == 0) continue;
        if (auto saved = storage.saveWatchedProcessEvent(entry, metrics.hostname); !saved) {
            Logger::error("Failed to save watched process event", saved.error().description(),
                          Logger::Category::storage);
        }
    }
}

}  // namespace ostrel
