#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "platform/read_error.h"

namespace ostrel {

// One power source as the platform describes it; anything it does not say stays absent.
struct PowerSourceDescription {
    // "AC Power" or "Battery Power".
    std::optional<std::string> state;
    std::optional<int64_t> currentCapacity;
    std::optional<int64_t> maxCapacity;
    std::optional<bool> isCharging;
    std::optional<bool> isCharged;

    bool operator==(const PowerSourceDescription&) const = default;
};

// A kind of sleep assertion and how many holders it has. Names that contain
// "PreventSystemSleep", "PreventUserIdleSystemSleep" or "PreventUserIdleDisplaySleep" hold sleep
// off; other names are reported but do not count.
struct SleepAssertion {
    std::string name;
    int64_t count = 0;

    bool operator==(const SleepAssertion&) const = default;
};

class PowerSource {
  public:
    virtual ~PowerSource() = default;
    virtual std::vector<PowerSourceDescription> powerSources() = 0;
    virtual tl::expected<std::vector<SleepAssertion>, ReadError> sleepAssertions() = 0;
};

}  // namespace ostrel
