#pragma once

#include <string_view>

namespace ostrel::Constants {

// The base of queue labels, the preferences domain and the notification name.
inline constexpr std::string_view bundleIdentifier = "com.ostrel.agent";

namespace Storage {
inline constexpr std::string_view appFolder = "Ostrel";
inline constexpr std::string_view metricsFolder = "metrics";
inline constexpr std::string_view uploadFolder = "upload";
inline constexpr std::string_view logsFolder = "Logs/Ostrel";
inline constexpr std::string_view fileExtension = "jsonl";
}  // namespace Storage

namespace Splunk {
inline constexpr std::string_view defaultIndex = "main";
inline constexpr std::string_view defaultSourcetype = "macos:ostrel";
inline constexpr std::string_view authScheme = "Splunk";
inline constexpr std::string_view contentType = "application/json";
}  // namespace Splunk

namespace Alerts {
inline constexpr std::string_view cpuHigh = "cpu_high";
inline constexpr std::string_view memoryWarning = "memory_warning";
inline constexpr std::string_view memoryCritical = "memory_critical";
inline constexpr std::string_view eventType = "alert";
inline constexpr std::string_view cpuTitle = "High CPU Usage";
inline constexpr std::string_view memoryWarningTitle = "Warning: Memory Pressure";
inline constexpr std::string_view memoryCriticalTitle = "Critical Memory Pressure";
inline constexpr std::string_view testTitle = "Ostrel Test Alert";
inline constexpr std::string_view testBody =
    "This is a test notification. Alerts are working correctly.";
}  // namespace Alerts

}  // namespace ostrel::Constants
