#include "app/app_delegate.h"

#include <fmt/format.h>
#include <unistd.h>

#include "app/medium_date_time.h"
#include "logging/logger.h"
#include "platform/operating_system.h"
#include "storage/metrics_storage.h"

namespace ostrel {
namespace {

constexpr auto general = Logger::Category::general;

}  // namespace

AppDelegate::AppDelegate(Services services)
    : services_(std::move(services)),
      alertManager_(services_.dispatcher->clock(), *services_.notifier,
                    services_.dispatcher->mainQueue()),
      monitor_([this] {
          MonitorDependencies dependencies = services_.monitorDependencies(alertManager_);
          storage_ = dependencies.storage;
          return PerformanceMonitor::create(std::move(dependencies));
      }()),
      configManager_(services_.preferences),
      commandHandler_(*this, *services_.preferences, services_.dispatcher->clock(),
                      mediumDateTime) {}

AppDelegate::~AppDelegate() {
    // The tray observes the monitor, so it goes first.
    userInterface_.reset();
}

void AppDelegate::applicationDidFinishLaunching() {
    Logger::initializeLogFile();
    Logger::info(fmt::format("Ostrel v{} launched ({}, PID: {})", OSTREL_VERSION,
                             operatingSystemVersionString(), getpid()),
                 general);
    configManager_.load();
    configManager_.logConfig();
    monitor_->configure(configManager_.config.get());
    startApp();
}

void AppDelegate::startApp() {
    alertManager_.requestPermission();
    // A copy: clearing the session settings below changes the manager's record.
    const MonitorConfig config = configManager_.config.get();
    if (config.headlessMode) {
        Logger::info("Running in headless mode (no menu bar icon)", general);
    } else {
        setUpUserInterface();
    }

    // Headless mode implies auto-start: there is no menu to start from.
    if (config.autoStart || config.headlessMode) {
        if (hasValidDestination()) {
            monitor_->start();
            commandHandler_.clearCLIOnlySettings();
        } else {
            Logger::warning(
                "Auto-start skipped: No valid destination configured. Enable local storage or "
                "configure Splunk upload.",
                general);
        }
    }
    commandHandler_.checkPendingCommand();
    commandHandler_.registerForCommandNotifications(*services_.channel,
                                                    services_.dispatcher->mainQueue());
}

void AppDelegate::setUpUserInterface() {
    if (!services_.makeUserInterface) {
        Logger::info("No user interface in this build; running without a menu bar icon", general);
        return;
    }
    auto userInterface = services_.makeUserInterface(*this);
    if (!userInterface) {
        // A session without a display or a tray still monitors; the tool reaches it as ever.
        Logger::warning(fmt::format("No menu bar icon ({}); running without a user interface",
                                    userInterface.error()),
                        general);
        return;
    }
    userInterface_ = std::move(*userInterface);
}

void AppDelegate::applicationWillTerminate() {
    // Stopped whether running or not, so the audit trail always ends with a stop.
    monitor_->stop();
    if (userInterface_) userInterface_->stopEventMonitor();
    commandHandler_.unregisterForCommandNotifications();
    Logger::info("Application shutdown complete", general);
    Logger::flush();
}

void AppDelegate::toggleMonitoring() {
    if (monitor_->isRunning.get()) {
        monitor_->stop();
        return;
    }
    configManager_.load();
    monitor_->configure(configManager_.config.get());
    monitor_->start();
}

MonitorConfig AppDelegate::loadConfiguration() {
    configManager_.load();
    return configManager_.config.get();
}

void AppDelegate::editConfiguration(const std::function<void(MonitorConfig&)>& change) {
    configManager_.config.modify(change);
}

bool AppDelegate::hasValidDestination() const {
    return ostrel::hasValidDestination(configManager_.config.get());
}

MonitorStatusFigures AppDelegate::monitorStatus() const {
    const PerformanceMonitor& monitor = *monitor_;
    return {
        .isRunning = monitor.isRunning.get(),
        .successCount = monitor.successCount.get(),
        .errorCount = monitor.errorCount.get(),
        .storedRecordsCount = monitor.storedRecordsCount.get(),
        .pendingUploadCount = monitor.pendingUploadCount.get(),
        .storageSizeMB = monitor.storageSizeMB.get(),
        .totalUploadedCount = monitor.totalUploadedCount.get(),
        .stoppedByDurationLimit = monitor.stoppedByDurationLimit.get(),
        .activeDurationMinutes = monitor.activeDurationMinutes(),
        .captureStartTime = monitor.captureStartTime.get(),
        .captureEndTime = monitor.captureEndTime.get(),
        .lastCollection = monitor.lastCollection.get(),
        .lastUploadDate = monitor.lastUploadDate.get(),
        .lastUploadCount = monitor.lastUploadCount.get(),
    };
}

void AppDelegate::configureDurationLimitFromCLI(int64_t minutes) {
    monitor_->configureDurationLimitFromCLI(minutes);
}

void AppDelegate::clearStoredData() {
    storage_->clearAll();
    monitor_->resetCounters();
    monitor_->updateStorageStatus();
}

void AppDelegate::openDashboard() {
    if (userInterface_) {
        userInterface_->openDashboard();
    } else {
        Logger::info("Dashboard not shown: running without a user interface", general);
    }
}

void AppDelegate::terminate() {
    if (terminating_) return;
    terminating_ = true;
    services_.endMainLoop();
}

}  // namespace ostrel
