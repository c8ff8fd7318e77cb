#pragma once

#include <string>
#include <vector>

#include "app/command_target.h"
#include "platform/preferences_store.h"

namespace ostrel::testing {

using Words = std::vector<std::string>;

// The configuration manager and monitor, reduced to what commands touch; the configuration
// loads from the same preferences the handler writes.
struct FakeTarget : CommandTarget {
    explicit FakeTarget(PreferencesStore& store) : preferences(store) {}

    MonitorConfig loadConfiguration() override {
        calls.push_back("load");
        record = MonitorConfig{.storageEnabled = destination};
        if (preferences.hasObject("intervalSeconds"))
            record.intervalSeconds = preferences.integer("intervalSeconds");
        record.captureDurationMinutes = preferences.integer("captureDurationMinutes");
        record.watchedProcesses = preferences.stringArray("watchedProcesses").value_or(Words{});
        return record;
    }
    MonitorConfig configuration() const override { return record; }
    void editConfiguration(const std::function<void(MonitorConfig&)>& change) override {
        change(record);
    }
    bool hasValidDestination() const override { return record.storageEnabled; }
    void configureMonitor(const MonitorConfig& config) override { configured = config; }
    MonitorStatusFigures monitorStatus() const override { return status; }
    void startMonitoring() override { calls.push_back("start"); }
    void stopMonitoring() override { calls.push_back("stop"); }
    void configureDurationLimitFromCLI(int64_t minutes) override {
        calls.push_back("limit");
        status.activeDurationMinutes = minutes;
        status.captureEndTime = Date(std::chrono::seconds(1795345200));
    }
    void uploadNow() override { calls.push_back("upload"); }
    void clearStoredData() override { calls.push_back("clear"); }
    void clearPinnedProcesses() override { calls.push_back("unpin"); }
    void openDashboard() override { calls.push_back("dashboard"); }
    void terminate() override {
        calls.push_back("terminate");
        if (onTerminate) onTerminate();
    }

    PreferencesStore& preferences;
    bool destination = true;
    MonitorConfig record, configured;
    MonitorStatusFigures status;
    Words calls;
    std::function<void()> onTerminate;
};

}  // namespace ostrel::testing
