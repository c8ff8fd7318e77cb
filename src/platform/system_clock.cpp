#include "platform/clock.h"

namespace ostrel {
namespace {

class SystemClock final : public Clock {
  public:
    Date now() const override { return std::chrono::system_clock::now(); }
    Duration monotonic() const override {
        return std::chrono::steady_clock::now().time_since_epoch();
    }
};

}  // namespace

const Clock& systemClock() {
    static const SystemClock clock;
    return clock;
}

}  // namespace ostrel
