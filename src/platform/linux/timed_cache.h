#pragma once

#include <memory>
#include <mutex>

#include "platform/clock.h"

namespace ostrel {

// A finding that is worth making again only now and then (the thermal zones, the disks, the
// default route): `get` gives the last one while it is younger than the validity, else makes a
// new one. The finding runs outside the lock, so two callers may both make one; the later
// stays.
template <class T>
class TimedCache {
  public:
    TimedCache(const Clock& clock, Duration validity) : clock_(clock), validity_(validity) {}

    template <class Find>
    std::shared_ptr<const T> get(Find find) {
        {
            std::lock_guard lock(lock_);
            if (value_ && clock_.monotonic() - foundAt_ < validity_) return value_;
        }
        auto value = std::make_shared<const T>(find());
        std::lock_guard lock(lock_);
        value_ = value;
        foundAt_ = clock_.monotonic();
        return value;
    }

  private:
    const Clock& clock_;
    const Duration validity_;
    std::mutex lock_;
    std::shared_ptr<const T> value_;
    Duration foundAt_{0};
};

}  // namespace ostrel
