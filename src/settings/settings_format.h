#pragma once

#include <cstdint>
#include <string>

namespace ostrel {

// How the settings window writes the values of its pickers, steppers and status lines.

// "1 minute", "5 minutes", "1 hour" (60 to 119), "2 hours": whole hours, rounded down.
std::string formatMinutes(int64_t minutes);
// "1 second", "2 seconds".
std::string formatSeconds(int64_t seconds);
// "1 day", "7 days".
std::string formatDays(int64_t days);
// A rotation policy with a capital first letter: "daily" gives "Daily".
std::string formatRotation(const std::string& policy);
// ">90%".
std::string formatThreshold(int64_t percent);
// The memory pressure level that alerts: 0 "Disabled", 2 "Warning or Critical",
// 4 "Critical Only"; other values have no name and give an empty text.
std::string formatPressureLevel(int64_t level);
// "12.3 / 500 MB": the stored size in MiB against the limit.
std::string formatDiskUsage(double sizeMB, int64_t maxStorageMB);

}  // namespace ostrel
