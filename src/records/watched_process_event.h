#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ostrel {

// One watched or pinned name measured at one sample. Identified in lists by `pattern`.
struct WatchedProcessMetrics {
    std::string pattern;
    int64_t processCount = 0;
    double cpuPercent = 0;
    double memoryMB = 0;
    uint64_t networkBytesIn = 0;
    uint64_t networkBytesOut = 0;
    double diskReadBytesPerSec = 0;
    double diskWriteBytesPerSec = 0;
    // The matching pids, for display only; never encoded and empty after decoding.
    std::vector<int64_t> pids;

    const std::string& id() const { return pattern; }
    bool operator==(const WatchedProcessMetrics&) const = default;
};

inline constexpr const char* kWatchedProcessEventType = "watched_process";

// A metric-file line that carries one WatchedProcessMetrics; `timestamp` is UTC with
// milliseconds.
struct WatchedProcessEvent {
    std::string eventType = kWatchedProcessEventType;
    std::string timestamp;
    std::string hostname;
    WatchedProcessMetrics watched;

    bool operator==(const WatchedProcessEvent&) const = default;
};

}  // namespace ostrel
