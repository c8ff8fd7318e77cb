#pragma once

#include <memory>
#include <mutex>

#include "platform/clock.h"

namespace ostrel {

// A finding that is worth making again only now and then (the thermal zones, the disks, the
// default route, the disk counters of a sample): it is kept while younger than the validity.
// Findings are made outside the lock, so two callers may both make one; the later stays.
template <class T>
class TimedCache {
  public:
    TimedCache(const Clock& clock, Duration validity) : clock_(clock), validity_(validity) {}

    // The last finding while it is younger than the validity; null otherwise.
    std::shared_ptr<const T> fresh() {
        std::lock_guard lock(lock_);
        if (value_ && clock_.monotonic() - foundAt_ < validity_) return value_;
        return nullptr;
    }

    // Keeps `value` as found now.
    std::shared_ptr<const T> store(T value) {
        auto kept = std::make_shared<const T>(std::move(value));
        std::lock_guard lock(lock_);
        value_ = kept;
        foundAt_ = clock_.monotonic();
        return kept;
    }

    // The last finding while it is fresh, else a new one from `find`, kept.
    template <class Find>
    std::shared_ptr<const T> get(Find find) {
        if (auto value = fresh()) return value;
        return store(find());
    }

  private:
    const Clock& clock_;
    const Duration validity_;
    std::mutex lock_;
    std::shared_ptr<const T> value_;
    Duration foundAt_{0};
};

}  // namespace ostrel
