#pragma once

#include <optional>

#include "platform/clock.h"

namespace ostrel {

// Seconds between two monotonic readings.
inline double elapsedSeconds(Duration earlier, Duration later) {
    return std::chrono::duration<double>(later - earlier).count();
}

// Shortest window a share of processor time is taken over. The kernel counts processor time
// in ticks of 10 ms, so over a few milliseconds one tick reads as 100 %; over a quarter second
// a tick is at most 4 points of one processor.
inline constexpr Duration kMinimumShareWindow = std::chrono::milliseconds(250);

// A change per second over the time that really passed between the two readings, never over
// the configured interval: timers run late and interface samples come at any moment. None when
// no time has passed, so a rate is never infinite.
inline std::optional<double> ratePerSecond(double delta, double elapsed) {
    if (!(elapsed > 0)) return std::nullopt;
    return delta / elapsed;
}

}  // namespace ostrel
