#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/clock.h"
#include "records/monitor_config.h"

namespace ostrel {

// The monitor's figures that a status snapshot and a start reply report.
struct MonitorStatusFigures {
    bool isRunning = false;
    int64_t successCount = 0;
    int64_t errorCount = 0;
    int64_t storedRecordsCount = 0;
    int64_t pendingUploadCount = 0;
    double storageSizeMB = 0;
    int64_t totalUploadedCount = 0;
    bool stoppedByDurationLimit = false;
    // The length of the running capture, not the setting.
    std::optional<int64_t> activeDurationMinutes;
    std::optional<Date> captureStartTime;
    std::optional<Date> captureEndTime;
    std::optional<Date> lastCollection;
    std::optional<Date> lastUploadDate;
    int64_t lastUploadCount = 0;
    int64_t rejectedUploadCount = 0;
    std::optional<std::string> lastError;
};

// What the commands act on: the application's configuration manager and monitor. The
// application implements it; every call comes on the main queue.
class CommandTarget {
  public:
    virtual ~CommandTarget() = default;

    // Reads the settings from the preferences into the configuration manager and returns them.
    virtual MonitorConfig loadConfiguration() = 0;
    // The configuration manager's record as it stands.
    virtual MonitorConfig configuration() const = 0;
    // Changes the configuration manager's record in memory; nothing is written to preferences.
    virtual void editConfiguration(const std::function<void(MonitorConfig&)>& change) = 0;
    // Whether the manager's record names somewhere for samples to go.
    virtual bool hasValidDestination() const = 0;

    virtual void configureMonitor(const MonitorConfig& config) = 0;
    virtual MonitorStatusFigures monitorStatus() const = 0;
    virtual void startMonitoring() = 0;
    virtual void stopMonitoring() = 0;
    // Starts the running capture's duration limit anew from now.
    virtual void configureDurationLimitFromCLI(int64_t minutes) = 0;
    virtual void uploadNow() = 0;
    // Deletes the stored metrics, resets the monitor's counters and refreshes its storage figures.
    virtual void clearStoredData() = 0;
    virtual void clearPinnedProcesses() = 0;
    virtual void openDashboard() = 0;
    // Ends the application through its normal termination.
    virtual void terminate() = 0;
};

}  // namespace ostrel
