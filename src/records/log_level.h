#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace ostrel {

// The file log's threshold as a setting; stored and encoded as its raw integer.
enum class LogLevel : int { debug = 0, info = 1, warning = 2, error = 3 };

// The level for a raw value, or none outside 0 to 3.
inline std::optional<LogLevel> logLevelFromRaw(int64_t raw) {
    if (raw < 0 || raw > 3) return std::nullopt;
    return static_cast<LogLevel>(raw);
}

inline int logLevelRaw(LogLevel level) {
    return static_cast<int>(level);
}

// The name the log and the settings show: "Debug", "Info", "Warning", "Errors Only".
std::string_view displayName(LogLevel level);

}  // namespace ostrel
