#pragma once

#include <atomic>

#include "platform/clock.h"

namespace ostrel::testing {

// A clock that moves only when told. Atomic, because the logger's queue reads it while the test
// moves it.
class ManualClock final : public Clock {
  public:
    Date now() const override { return Date(Date::duration(wall_.load())); }
    Duration monotonic() const override { return Duration(monotonic_.load()); }
    void advance(Duration step) {
        wall_ += std::chrono::duration_cast<Date::duration>(step).count();
        monotonic_ += step.count();
    }

  private:
    // 2025-11-13 02:13:20 UTC.
    std::atomic<Date::rep> wall_{
        std::chrono::duration_cast<Date::duration>(std::chrono::seconds(1'763'000'000)).count()};
    std::atomic<Duration::rep> monotonic_{0};
};

}  // namespace ostrel::testing
