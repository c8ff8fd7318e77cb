#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/clock.h"

namespace ostrel {

struct AlertProcessInfo {
    int64_t pid = 0;
    std::string name;
    std::optional<double> cpuPercent;
    std::optional<double> memoryMB;

    bool operator==(const AlertProcessInfo&) const = default;
};

struct AlertDetails {
    std::string type;
    std::string message;
    std::string value;
    std::optional<std::string> threshold;
    std::optional<std::vector<AlertProcessInfo>> topCPUProcesses;
    std::optional<std::vector<AlertProcessInfo>> topMemoryProcesses;

    bool operator==(const AlertDetails&) const = default;
};

// A metric-file line for one alert. Its keys are camelCase, unlike samples, and its
// timestamp is a date written as UTC without fractions.
struct AlertEvent {
    Date timestamp;
    std::string hostname;
    std::string eventType = "alert";
    AlertDetails alert;

    bool operator==(const AlertEvent&) const = default;
};

}  // namespace ostrel
