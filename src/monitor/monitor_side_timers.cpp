// The loops around the collection timer: the start-up pre-warm, the popup refresh, the duration
// limit, background alerts, and the storage figures.
#include <fmt/format.h>

#include <algorithm>

#include "config/setting_limits.h"
#include "logging/logger.h"
#include "monitor/monitor_core.h"
#include "monitor/monitor_timing.h"
#include "monitor/performance_monitor.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
constexpr auto collection = Logger::Category::collection;
// Data younger than this is fresh enough that an opened popup waits one period to refresh.
constexpr double kFreshDisplaySeconds = 60;
constexpr auto kBackgroundAlertPeriod = 10s;
constexpr auto kDurationCheckPeriod = 60s;

}  // namespace

void PerformanceMonitor::publishDisplaySample(SystemMetrics metrics) {
    lastMetrics.set(std::move(metrics));
    lastMetricsTimestamp_ = dispatcher_.clock().now();
}

void PerformanceMonitor::preWarmMetrics() {
    collectionQueue_->async([core = core_, weak = weak_from_this()] {
        const MonitorConfig defaults;
        const auto publish = [&](SystemMetrics metrics) {
            core->dispatcher.mainQueue().async([weak, metrics = std::move(metrics)]() mutable {
                if (auto self = weak.lock()) self->publishDisplaySample(std::move(metrics));
            });
        };
        // The cheap sample first, so the popup has figures before the full one has ended.
        if (weak.expired()) return;
        publish(core->collector->collectFastMetrics(defaults));
        if (weak.expired()) return;
        publish(core->collector->collectAll(defaults, false));
    });
}

void PerformanceMonitor::startUITimer() {
    const int64_t interval = core_->configCopy().intervalSeconds;
    const Duration period = std::chrono::seconds(std::clamp<int64_t>(interval, 1, 10));
    const bool fresh =
        lastMetricsTimestamp_ &&
        secondsBetween(*lastMetricsTimestamp_, dispatcher_.clock().now()) <= kFreshDisplaySeconds;
    uiTimer_.reset();
    uiTimer_ = makeTimer(*collectionQueue_, fresh ? period : Duration(100ms), period, 100ms,
                         [core = core_, weak = weak_from_this()] {
                             if (!weak.expired())
                                 refreshUIWithQoS(core, core->configCopy(), core->pinsCopy(), weak);
                         });
}

void PerformanceMonitor::stopPopupRefresh() {
    popupOpen_ = false;
    uiTimer_.reset();
    core_->storage->invalidateCache();
}

void PerformanceMonitor::refreshUIWithQoS(const std::shared_ptr<Core>& core,
                                          const MonitorConfig& config,
                                          const std::vector<std::string>& pins, Weak weak) {
    // Not for storage: the stored samples' baselines stay where they are.
    SystemMetrics metrics = core->collector->collectAll(config, false);
    std::vector<WatchedProcessMetrics> watched =
        core->aggregateWatched(pins, config.watchedProcesses);
    core->dispatcher.mainQueue().async([weak = std::move(weak), metrics = std::move(metrics),
                                        watched = std::move(watched)]() mutable {
        auto self = weak.lock();
        if (!self) return;
        self->publishDisplaySample(std::move(metrics));
        self->watchedMetrics.set(std::move(watched));
    });
}

void PerformanceMonitor::configureDurationLimit() {
    const int64_t minutes = core_->configCopy().captureDurationMinutes;
    if (minutes < 1) {
        // Without a timer there is no limit to clear, and an old end time stays on show.
        if (durationTimer_) {
            durationTimer_.reset();
            captureEndTime.set(std::nullopt);
            Logger::info("Duration limit cleared (unlimited)", collection);
        }
        return;
    }
    // Counted from now: a change during a capture starts a fresh period.
    captureEndTime.set(
        monitor_timing::after(dispatcher_.clock().now(), monitor_timing::minutes(minutes)));
    startDurationTimer();
    Logger::info(fmt::format("Duration limit set: {} minutes from now", minutes), collection);
}

void PerformanceMonitor::configureDurationLimitFromCLI(int64_t minutes) {
    core_->changeConfig([minutes](MonitorConfig& config) {
        config.captureDurationMinutes =
            std::clamp<int64_t>(minutes, 0, setting_limits::kMaxCaptureDurationMinutes);
    });
    configureDurationLimit();
}

void PerformanceMonitor::startDurationTimer() {
    durationTimer_.reset();
    // The end time is a published field, read on the main queue only, so the check goes there
    // first; the limit keeps its one-minute grain.
    durationTimer_ =
        makeMainQueueTimer(kDurationCheckPeriod, 1s, &PerformanceMonitor::checkDurationLimit);
}

void PerformanceMonitor::checkDurationLimit() {
    const std::optional<Date> end = captureEndTime.get();
    if (!end || dispatcher_.clock().now() < *end || !isRunning.get()) return;
    Logger::info("Duration limit reached - stopping capture", collection);
    stoppedByDurationLimit.set(true);
    stop();
}

std::optional<int64_t> PerformanceMonitor::activeDurationMinutes() const {
    const std::optional<Date> start = captureStartTime.get();
    const std::optional<Date> end = captureEndTime.get();
    if (!start || !end) return std::nullopt;
    const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(*end - *start).count();
    return std::max<int64_t>(minutes, 0);
}

void PerformanceMonitor::updateBackgroundAlertTimer() {
    const MonitorConfig config = core_->configCopy();
    if (!isRunning.get() && config.alertsEnabled && config.alertInBackground) {
        startBackgroundAlertTimer();
    } else {
        stopBackgroundAlertTimer();
    }
}

void PerformanceMonitor::startBackgroundAlertTimer() {
    backgroundAlertTimer_.reset();
    collectionQueue_->async(
        [core = core_, config = core_->configCopy(), weak = weak_from_this()]() mutable {
            collectForAlertOnly(core, std::move(config), std::move(weak));
        });
    backgroundAlertTimer_ =
        makeTimer(*collectionQueue_, kBackgroundAlertPeriod, kBackgroundAlertPeriod, 1s,
                  [core = core_, weak = weak_from_this()] {
                      collectForAlertOnly(core, core->configCopy(), weak);
                  });
    Logger::info("Background alerts started (10s interval)", collection);
}

void PerformanceMonitor::stopBackgroundAlertTimer() {
    if (!backgroundAlertTimer_) return;
    backgroundAlertTimer_.reset();
    Logger::info("Background alerts stopped", collection);
}

void PerformanceMonitor::collectForAlertOnly(const std::shared_ptr<Core>& core,
                                             MonitorConfig config, Weak weak) {
    // The shared core keeps collector and store alive for this step, whatever the monitor does.
    SystemMetrics metrics = core->collector->collectAll(config, true);
    core->dispatcher.mainQueue().async([core, weak = std::move(weak), metrics = std::move(metrics),
                                        config = std::move(config)] {
        // Nothing is published: the figures on show belong to stored samples.
        if (weak.expired() || !config.alertsEnabled) return;
        const std::vector<AlertEvent> events = core->alertManager.checkAndAlert(metrics, config);
        if (!config.alertLogEvents) return;
        for (const AlertEvent& event : events) {
            if (auto saved = core->storage->saveAlertEvent(event); !saved) {
                Logger::error("Failed to save background alert event", saved.error().description(),
                              Logger::Category::storage);
            }
        }
    });
}

void PerformanceMonitor::updateStorageStatus() {
    MetricsStorage& storage = *core_->storage;
    // One reading serves all three figures. The store keeps it for a while: most samples find
    // the one already shown, and announce nothing.
    if (auto health = storage.healthSnapshot(); health != shownHealth_) {
        storedRecordsCount.set(health->pendingRecords);
        storageSizeMB.set(health->pendingSizeMB);
        storageHealth.set(*health);
        shownHealth_ = std::move(health);
    }
    pendingUploadCount.set(storage.pendingUploadCount());
    rejectedUploadCount.set(storage.rejectedUploadCount());
}

}  // namespace ostrel
