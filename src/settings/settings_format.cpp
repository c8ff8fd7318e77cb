#include "settings/settings_format.h"

#include <fmt/format.h>

#include "records/text.h"

namespace ostrel {
namespace {

// "1 <unit>" or "<n> <unit>s".
std::string counted(int64_t count, std::string_view unit) {
    return fmt::format("{} {}{}", count, unit, count == 1 ? "" : "s");
}

}  // namespace

std::string formatMinutes(int64_t minutes) {
    if (minutes < 60) return counted(minutes, "minute");
    return counted(minutes / 60, "hour");
}

std::string formatSeconds(int64_t seconds) {
    return counted(seconds, "second");
}

std::string formatDays(int64_t days) {
    return counted(days, "day");
}

std::string formatRotation(const std::string& policy) {
    std::string shown = policy;
    if (!shown.empty()) shown[0] = asciiUpper(shown[0]);
    return shown;
}

std::string formatThreshold(int64_t percent) {
    return fmt::format(">{}%", percent);
}

std::string formatPressureLevel(int64_t level) {
    switch (level) {
        case 0:
            return "Disabled";
        case 2:
            return "Warning or Critical";
        case 4:
            return "Critical Only";
        default:
            return {};
    }
}

std::string formatDiskUsage(double sizeMB, int64_t maxStorageMB) {
    return fmt::format("{:.1f} / {} MB", sizeMB, maxStorageMB);
}

}  // namespace ostrel
