#include "monitor/performance_monitor.h"

#include <fmt/format.h>

#include <algorithm>
#include <climits>

#include "config/setting_limits.h"
#include "logging/logger.h"
#include "monitor/monitor_core.h"
#include "monitor/monitor_timing.h"
#include "records/constants.h"
#include "upload/splunk_hec_client.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
constexpr auto collection = Logger::Category::collection;
constexpr auto storageCategory = Logger::Category::storage;
constexpr std::string_view kStorageErrorPrefix = "Storage error: ";

const char* flag(bool value) {
    return value ? "true" : "false";
}

// Construction without one of these is a broken program, not a state to carry on in.
template <class T>
T& required(T* object, const char* what) {
    if (!object) {
        Logger::fatal(fmt::format("PerformanceMonitor built without {}", what),
                      Logger::Category::general);
    }
    return *object;
}

}  // namespace

std::shared_ptr<PerformanceMonitor> PerformanceMonitor::create(MonitorDependencies dependencies) {
    std::shared_ptr<PerformanceMonitor> monitor(new PerformanceMonitor(std::move(dependencies)));
    monitor->finishConstruction();
    return monitor;
}

PerformanceMonitor::PerformanceMonitor(MonitorDependencies dependencies)
    : dispatcher_(required(dependencies.dispatcher, "a dispatcher")),
      core_(std::make_shared<Core>(
          dispatcher_, required(dependencies.alertManager, "an alert manager"),
          std::move(dependencies.collector), std::move(dependencies.storage))),
      preferences_(std::move(dependencies.preferences)),
      makeHECClient_(std::move(dependencies.makeHECClient)),
      observeWake_(std::move(dependencies.observeWake)),
      makePathMonitor_(std::move(dependencies.makePathMonitor)),
      powerSources_(std::move(dependencies.powerSources)),
      collectionQueue_(dispatcher_.makeQueueSharingMainWhenHeadless("com.ostrel.collection")) {
    required(core_->collector.get(), "a collector");
    required(core_->storage.get(), "a store");
    required(preferences_.get(), "a preferences store");
    if (!makeHECClient_)
        makeHECClient_ = MonitorDependencies::hecClientFactory(dispatcher_.clock());
    if (!observeWake_) observeWake_ = observeSystemWake;
    if (!makePathMonitor_) makePathMonitor_ = makePlatformNetworkPathMonitor;
}

// The steps that hand out weak references, which exist only once a shared owner does.
void PerformanceMonitor::finishConstruction() {
    setupWakeNotification();
    loadPinnedProcesses();
    updateStorageStatus();
    preWarmMetrics();
}

PerformanceMonitor::~PerformanceMonitor() {
    collectionTimer_.reset();
    uiTimer_.reset();
    uploadTimer_.reset();
    durationTimer_.reset();
    backgroundAlertTimer_.reset();
    wakeWaits_.clear();
    core_->storage->close();
    wakeObserver_.reset();
}

MonitorConfig PerformanceMonitor::currentConfig() const {
    return core_->configCopy();
}

std::unique_ptr<Timer> PerformanceMonitor::makeTimer(SerialQueue& queue, Duration first,
                                                     Duration period, Duration leeway,
                                                     Task handler) {
    return dispatcher_.makeTimer(
        queue, {.firstDeadline = first, .period = period, .leeway = leeway}, std::move(handler));
}

std::unique_ptr<Timer> PerformanceMonitor::makeMainQueueTimer(Duration period, Duration leeway,
                                                              void (PerformanceMonitor::*step)()) {
    return makeTimer(dispatcher_.mainQueue(), period, period, leeway,
                     [weak = weak_from_this(), step] {
                         if (auto self = weak.lock()) (self.get()->*step)();
                     });
}

void PerformanceMonitor::configureHECClient() {
    const MonitorConfig config = core_->configCopy();
    if (!config.uploadEnabled || config.hecEndpoint.empty() || config.hecToken.empty()) {
        hecClient_.reset();
        return;
    }
    auto client = makeHECClient_(config);
    if (client) {
        hecClient_ = std::move(*client);
        lastError.set(std::nullopt);
    } else {
        hecClient_.reset();
        lastError.set(client.error().errorDescription());
    }
}

void PerformanceMonitor::configure(MonitorConfig given) {
    const MonitorConfig config = withinLimits(std::move(given));
    const MonitorConfig old = core_->configCopy();
    const bool alertFlagsChanged = old.alertInBackground != config.alertInBackground ||
                                   old.alertsEnabled != config.alertsEnabled;
    const bool intervalChanged = old.intervalSeconds != config.intervalSeconds;
    core_->setConfig(config);
    core_->storage->updateConfig(config);
    configureHECClient();

    const bool running = isRunning.get();
    if (running && intervalChanged) startCollectionTimer();
    if (running && (old.uploadEnabled != config.uploadEnabled ||
                    old.uploadIntervalMinutes != config.uploadIntervalMinutes)) {
        uploadTimer_.reset();
        if (config.uploadEnabled) startUploadTimer();
    }
    core_->collector->processCollector().setMemoryUpdateInterval(
        static_cast<int>(std::clamp<int64_t>(config.intervalSeconds, 1, INT_MAX)));
    // An open popup's refresh follows the new interval.
    if (intervalChanged && uiTimer_) {
        popupOpen_ = true;
        if (!running) startUITimer();
    }
    if (alertFlagsChanged) updateBackgroundAlertTimer();
    // Switching the limit off does not end one already running: it stays until it fires.
    if (running && old.captureDurationMinutes != config.captureDurationMinutes &&
        (config.captureDurationMinutes > 0 || !captureEndTime.get())) {
        configureDurationLimit();
    }
}

void PerformanceMonitor::start() {
    if (isRunning.get()) return;
    stopBackgroundAlertTimer();
    if (uiTimer_) {
        uiTimer_.reset();
        Logger::debug("UI timer stopped - collection timer will handle UI updates", collection);
    }
    isRunning.set(true);
    stoppedByDurationLimit.set(false);
    captureStartTime.set(dispatcher_.clock().now());
    updateStorageStatus();
    configureDurationLimit();
    logMonitorStart();
    // The first stored sample comes now, not one period later.
    collectAndStore();
    startCollectionTimer();
    const MonitorConfig config = core_->configCopy();
    if (config.uploadEnabled) startUploadTimer();
    Logger::info(fmt::format("Monitoring started (interval: {}s)", config.intervalSeconds),
                 collection);
}

void PerformanceMonitor::logMonitorStart() {
    const MonitorConfig config = core_->configCopy();
    core_->storage->logAudit("monitor_start",
                             {{"interval_seconds", std::to_string(config.intervalSeconds)},
                              {"duration_minutes", std::to_string(config.captureDurationMinutes)}});
}

void PerformanceMonitor::stop() {
    collectionTimer_.reset();
    uploadTimer_.reset();
    durationTimer_.reset();
    isRunning.set(false);
    core_->storage->logAudit("monitor_stop",
                             {{"stopped_by_limit", flag(stoppedByDurationLimit.get())}});
    updateBackgroundAlertTimer();
    // No collection timer feeds the popup any more.
    if (popupOpen_) startUITimer();
    Logger::debug(fmt::format("Timer state after stop - collection: {}, upload: {}, duration: {}, "
                              "background: {}, ui: {}",
                              flag(collectionTimer_ != nullptr), flag(uploadTimer_ != nullptr),
                              flag(durationTimer_ != nullptr),
                              flag(backgroundAlertTimer_ != nullptr), flag(uiTimer_ != nullptr)),
                  collection);
}

void PerformanceMonitor::resetCounters() {
    successCount.set(0);
    errorCount.set(0);
    lastError.set(std::nullopt);
}

void PerformanceMonitor::startCollectionTimer() {
    collectionTimer_.reset();
    const Duration interval = monitor_timing::seconds(core_->configCopy().intervalSeconds);
    // Fired on the collection queue itself: a sample wakes no other thread before it lands.
    collectionTimer_ = makeTimer(
        *collectionQueue_, interval, interval, 100ms, [core = core_, weak = weak_from_this()] {
            if (!weak.expired()) {
                collectSample(core, core->configSnapshot(), core->pinsCopy(), weak);
            }
        });
}

void PerformanceMonitor::collectAndStore() {
    beginSample(core_, *collectionQueue_, weak_from_this());
}

void PerformanceMonitor::beginSample(const std::shared_ptr<Core>& core,
                                     SerialQueue& collectionQueue, Weak weak) {
    // Settings changed after this point do not reach the sample.
    std::shared_ptr<const MonitorConfig> config = core->configSnapshot();
    std::vector<std::string> pins = core->pinsCopy();
    collectionQueue.async([core, config = std::move(config), pins = std::move(pins),
                           weak = std::move(weak)]() mutable {
        if (!weak.expired()) collectSample(core, std::move(config), pins, std::move(weak));
    });
}

void PerformanceMonitor::collectSample(const std::shared_ptr<Core>& core,
                                       std::shared_ptr<const MonitorConfig> config,
                                       const std::vector<std::string>& pins, Weak weak) {
    SystemMetrics metrics = core->collector->collectAll(*config, true);
    std::vector<WatchedProcessMetrics> watched =
        core->aggregateWatched(pins, config->watchedProcesses);
    core->dispatcher.mainQueue().async([core, weak = std::move(weak), metrics = std::move(metrics),
                                        watched = std::move(watched),
                                        config = std::move(config)]() mutable {
        if (auto self = weak.lock())
            self->landSample(*core, std::move(metrics), std::move(watched), *config);
    });
}

void PerformanceMonitor::landSample(Core& core, SystemMetrics metrics,
                                    std::vector<WatchedProcessMetrics> watched,
                                    const MonitorConfig& config) {
    MetricsStorage& storage = *core.storage;
    // Published first and then read back where they are kept: the sample is not copied.
    lastMetrics.set(std::move(metrics));
    watchedMetrics.set(std::move(watched));
    lastCollection.set(dispatcher_.clock().now());
    const SystemMetrics& sample = *lastMetrics.get();
    saveMetricsToStorage(sample, storage);
    saveWatchedProcessEvents(watchedMetrics.get(), sample, storage);
    if (config.alertsEnabled) {
        const std::vector<AlertEvent> events = core.alertManager.checkAndAlert(sample, config);
        // With events off the alerts stand as notified, and nothing is written.
        if (config.alertLogEvents) {
            for (const AlertEvent& event : events) {
                if (auto saved = storage.saveAlertEvent(event); !saved) {
                    Logger::error("Failed to save alert event", saved.error().description(),
                                  storageCategory);
                }
            }
        }
    }
    updateStorageStatus();
}

void PerformanceMonitor::saveMetricsToStorage(const SystemMetrics& metrics,
                                              MetricsStorage& storage) {
    // A store switched off saves nothing, successfully: the count goes on rising.
    if (auto saved = storage.save(metrics); saved) {
        successCount.set(successCount.get() + 1);
        // A stored sample answers for the store only: an upload's error stays on show until
        // the next cycle, or it would vanish from the status within seconds.
        if (lastError.get() && lastError.get()->starts_with(kStorageErrorPrefix)) {
            lastError.set(std::nullopt);
        }
    } else {
        const std::string description = saved.error().description();
        errorCount.set(errorCount.get() + 1);
        lastError.set(std::string(kStorageErrorPrefix) + description);
        Logger::error("Storage failed", description, storageCategory);
    }
}

}  // namespace ostrel
