#pragma once

#include <chrono>

namespace ostrel {

// A moment in wall-clock time, as records and files carry it.
using Date = std::chrono::system_clock::time_point;
using Duration = std::chrono::nanoseconds;

// The one source of "now". Production reads the system; tests move a virtual clock by hand,
// so every rule that depends on elapsed time runs deterministically.
class Clock {
  public:
    virtual ~Clock() = default;
    // Wall-clock time: stamps, file names, ages of files.
    virtual Date now() const = 0;
    // Monotonic time since an arbitrary origin: elapsed times and rates, immune to clock changes.
    virtual Duration monotonic() const = 0;
};

// The process's real clock.
const Clock& systemClock();

// Seconds between two dates as a double, the unit most rules are written in.
inline double secondsBetween(Date earlier, Date later) {
    return std::chrono::duration<double>(later - earlier).count();
}

}  // namespace ostrel
