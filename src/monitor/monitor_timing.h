#pragma once

#include <fmt/format.h>

#include <chrono>
#include <cstdint>

#include "logging/logger.h"
#include "platform/clock.h"

namespace ostrel::monitor_timing {

// Minutes from the settings as a duration. The settings' ranges keep every count far inside
// the clock's range; an overflow would mean a broken program, so the process stops rather
// than schedule at a wrong time.
inline Duration minutes(int64_t count) {
    constexpr int64_t nanosPerMinute = int64_t{60} * 1'000'000'000;
    int64_t nanos = 0;
    if (__builtin_mul_overflow(count, nanosPerMinute, &nanos)) {
        Logger::fatal(fmt::format("A period of {} minutes overflows the clock", count),
                      Logger::Category::collection);
    }
    return Duration(nanos);
}

// Seconds from the settings, at least one: a period of zero would fire without pause.
inline Duration seconds(int64_t count) {
    return std::chrono::seconds(count < 1 ? 1 : count);
}

// `date` moved on by `period`, with the same rule on overflow.
inline Date after(Date date, Duration period) {
    Date::rep moved = 0;
    const auto step = std::chrono::duration_cast<Date::duration>(period).count();
    if (__builtin_add_overflow(date.time_since_epoch().count(), step, &moved)) {
        Logger::fatal("A capture end overflows the clock", Logger::Category::collection);
    }
    return Date(Date::duration(moved));
}

}  // namespace ostrel::monitor_timing
