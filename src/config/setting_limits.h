#pragma once

#include <array>
#include <cstdint>

#include "records/monitor_config.h"

namespace ostrel {

// The range of each numeric setting. The upper bounds where the settings themselves set none
// are far beyond anything a user would ask for, and keep every sum of clock and calendar
// arithmetic made from them (nanoseconds in 64 bits, calendar days in an int) far from
// overflowing, so that no stored or sent value can stop the process, make a timer fire
// without pause or make pruning delete everything.
namespace setting_limits {

inline constexpr int64_t kMinutesPerDay = 24 * 60;
// A year of capture.
inline constexpr int64_t kMaxCaptureDurationMinutes = 366 * kMinutesPerDay;
// A week between uploads; the queue is bounded in size and age beyond that anyway.
inline constexpr int64_t kMaxUploadIntervalMinutes = 7 * kMinutesPerDay;
// A week between two notifications of one alert.
inline constexpr int64_t kMaxAlertCooldownMinutes = 7 * kMinutesPerDay;
// Ten years of metric files.
inline constexpr int64_t kMaxRetentionDays = 3660;
// A tebibyte of metric files.
inline constexpr int64_t kMaxStorageMB = 1024 * 1024;

}  // namespace setting_limits

struct SettingRange {
    int64_t MonitorConfig::*field;
    int64_t lowest;
    int64_t highest;
};

// Every numeric setting that is a count or a duration, in the order validation checks them.
inline constexpr std::array<SettingRange, 9> kSettingRanges{{
    // 10 seconds is the longest sampling interval the collectors are built for.
    {&MonitorConfig::intervalSeconds, 1, 10},
    {&MonitorConfig::captureDurationMinutes, 0, setting_limits::kMaxCaptureDurationMinutes},
    {&MonitorConfig::maxStorageMB, 1, setting_limits::kMaxStorageMB},
    {&MonitorConfig::retentionDays, 1, setting_limits::kMaxRetentionDays},
    {&MonitorConfig::uploadIntervalMinutes, 1, setting_limits::kMaxUploadIntervalMinutes},
    {&MonitorConfig::alertCPUThreshold, 1, 100},
    {&MonitorConfig::alertSustainedSeconds, 0, 3600},
    {&MonitorConfig::alertMemorySustainedSeconds, 0, 3600},
    {&MonitorConfig::alertCooldownMinutes, 1, setting_limits::kMaxAlertCooldownMinutes},
}};

// `config` with every numeric setting clamped into its range. The monitor applies this to
// whatever it is given, since a settings window hands values over without a load.
inline MonitorConfig withinLimits(MonitorConfig config) {
    for (const SettingRange& range : kSettingRanges) {
        int64_t& value = config.*range.field;
        if (value < range.lowest) value = range.lowest;
        if (value > range.highest) value = range.highest;
    }
    return config;
}

}  // namespace ostrel
