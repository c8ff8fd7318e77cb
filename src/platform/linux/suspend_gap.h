#pragma once

#include <chrono>
#include <optional>

namespace ostrel {

// Detects a suspend from two clocks: CLOCK_BOOTTIME counts time asleep, CLOCK_MONOTONIC does
// not, so their difference grows by exactly the time the machine slept.
class SuspendGap {
  public:
    using Duration = std::chrono::nanoseconds;

    explicit SuspendGap(Duration threshold = std::chrono::seconds(2)) : threshold_(threshold) {}

    // Feeds one reading of both clocks; true when the machine slept since the previous one.
    bool sleptSinceLastReading(Duration boottime, Duration monotonic) {
        const Duration asleep = boottime - monotonic;
        const bool slept = previous_ && asleep - *previous_ >= threshold_;
        previous_ = asleep;
        return slept;
    }

  private:
    Duration threshold_;
    std::optional<Duration> previous_;
};

}  // namespace ostrel
