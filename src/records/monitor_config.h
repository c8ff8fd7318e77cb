#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "records/log_level.h"

namespace ostrel {

// Every setting with its default. The JSON key and the preferences key of each field is the
// field's own name; bounds are enforced by ConfigurationManager::validateConfig.
struct MonitorConfig {
    int64_t intervalSeconds = 2;
    bool autoStart = false;
    int64_t captureDurationMinutes = 0;
    bool headlessMode = false;
    bool minimalUI = false;
    LogLevel logLevel = LogLevel::warning;
    bool collectCPU = true;
    bool collectMemory = true;
    bool collectDisk = true;
    bool collectNetwork = true;
    bool collectProcesses = true;
    bool aggregateProcesses = false;
    bool showPIDsInUI = true;
    bool collectPower = true;
    bool collectGPU = true;
    bool collectSystem = true;
    bool storageEnabled = true;
    int64_t maxStorageMB = 500;
    int64_t retentionDays = 7;
    std::string rotationPolicy = "daily";
    bool uploadEnabled = false;
    std::string hecEndpoint;
    std::string hecToken;
    std::string splunkIndex = "main";
    std::string sourcetype = "macos:ostrel";
    bool verifySSL = true;
    int64_t uploadIntervalMinutes = 5;
    bool alertsEnabled = false;
    bool alertInBackground = false;
    int64_t alertCPUThreshold = 90;
    int64_t alertSustainedSeconds = 0;
    int64_t alertMemoryPressureLevel = 4;
    int64_t alertMemorySustainedSeconds = 0;
    int64_t alertCooldownMinutes = 15;
    bool alertShowNotification = true;
    bool alertLogEvents = true;
    std::string alertCPUNotificationTitle;
    std::string alertCPUNotificationBody;
    std::string alertMemoryNotificationTitle;
    std::string alertMemoryNotificationBody;
    std::vector<std::string> watchedProcesses;

    bool operator==(const MonitorConfig&) const = default;
};

}  // namespace ostrel
