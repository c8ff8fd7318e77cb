#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "records/monitor_config.h"

namespace ostrel {

// The memory pressure levels that have a word of their own; alerts and texts both tell
// critical from anything less.
inline constexpr int64_t criticalPressureLevel = 4;
inline constexpr int64_t warningPressureLevel = 2;

// The words and notification texts of alerts. Users may customise titles and bodies in the
// settings; placeholders in braces stand for the measured value and the threshold.
struct AlertText {
    std::string title;
    std::string body;

    // A CPU load as alerts show it: "95.3%".
    static std::string cpuLoad(double load);
    // A memory pressure level as a word: 4 "critical", 2 "warning", anything else "normal".
    static std::string pressureWord(std::optional<int64_t> level);

    // The custom CPU title is shown as typed, placeholders and all; only the custom body has
    // "{value}" and "{threshold}" filled in.
    static AlertText cpu(double load, const MonitorConfig& config);
    // Custom memory texts fill "{value}", "{threshold}" and "{level}" in title and body alike;
    // the built-in texts, chosen by severity, have none.
    static AlertText memory(std::optional<int64_t> pressureLevel, const MonitorConfig& config);
};

}  // namespace ostrel
