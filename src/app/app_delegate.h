#pragma once

#include <functional>
#include <memory>
#include <string>

#include "alerts/alert_manager.h"
#include "app/command_handler.h"
#include "app/command_target.h"
#include "app/user_interface.h"
#include "config/configuration_manager.h"
#include "monitor/performance_monitor.h"
#include "platform/command_channel.h"
#include "platform/notifier.h"
#include "records/destination.h"

namespace ostrel {

// The application proper: owns the monitor and the configuration manager for the life of the
// process, launches them, answers the command line, and shuts them down in order. Knows the
// tray only through UserInterface, so the same object runs with a tray, without one, and in
// tests. Everything is called on the main queue.
class AppDelegate final : public CommandTarget {
  public:
    struct Services {
        Dispatcher* dispatcher = nullptr;  // outlives the delegate
        std::shared_ptr<PreferencesStore> preferences;
        std::unique_ptr<Notifier> notifier;
        std::unique_ptr<CommandChannel> channel;
        // The monitor's pieces, given the alert manager that the delegate owns.
        std::function<MonitorDependencies(AlertManager&)> monitorDependencies;
        // Empty in a build without a user interface.
        UserInterfaceFactory makeUserInterface;
        // Ends the main loop; the caller then runs applicationWillTerminate.
        std::function<void()> endMainLoop;
    };

    explicit AppDelegate(Services services);
    ~AppDelegate() override;
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    // Log file, launch line, settings, monitor configured, then startApp.
    void applicationDidFinishLaunching();
    // Notification rights, the tray unless headless, the auto-start rule, the pending command,
    // and last the command listener.
    void startApp();
    // Stops the monitor, closes the popup, stops listening, and writes out the log.
    void applicationWillTerminate();

    // Menu actions.
    void toggleMonitoring();
    void quitApp() { terminate(); }

    PerformanceMonitor& monitor() { return *monitor_; }
    Dispatcher& dispatcher() { return *services_.dispatcher; }
    ConfigurationManager& configManager() { return configManager_; }
    AlertManager& alertManager() { return alertManager_; }

    // CommandTarget.
    MonitorConfig loadConfiguration() override;
    MonitorConfig configuration() const override { return configManager_.config.get(); }
    void editConfiguration(const std::function<void(MonitorConfig&)>& change) override;
    bool hasValidDestination() const override;
    void configureMonitor(const MonitorConfig& config) override { monitor_->configure(config); }
    MonitorStatusFigures monitorStatus() const override;
    void startMonitoring() override { monitor_->start(); }
    void stopMonitoring() override { monitor_->stop(); }
    void configureDurationLimitFromCLI(int64_t minutes) override;
    void uploadNow() override { monitor_->uploadNow(); }
    void clearStoredData() override;
    void clearPinnedProcesses() override { monitor_->clearPinnedProcesses(); }
    void openDashboard() override;
    void terminate() override;

  private:
    void setUpUserInterface();

    Services services_;
    AlertManager alertManager_;
    // Kept beside the monitor's own reference, for the clear command.
    std::shared_ptr<MetricsStorage> storage_;
    std::shared_ptr<PerformanceMonitor> monitor_;
    ConfigurationManager configManager_;
    CommandHandler commandHandler_;
    std::unique_ptr<UserInterface> userInterface_;
    bool terminating_ = false;
};

}  // namespace ostrel
