#pragma once

#include <cstdint>
#include <optional>
#include <tl/expected.hpp>

#include "platform/read_error.h"

namespace ostrel {

// Cumulative processor time since boot in the kernel's ticks, summed over all processors.
struct CpuTicks {
    uint64_t user = 0;
    uint64_t system = 0;
    uint64_t idle = 0;
    uint64_t nice = 0;

    bool operator==(const CpuTicks&) const = default;
};

struct LoadAverages {
    double oneMinute = 0;
    double fiveMinutes = 0;
    double fifteenMinutes = 0;
};

// What the processor side of a sample reads from the machine.
class CpuSource {
  public:
    virtual ~CpuSource() = default;
    // Logical processors currently online.
    virtual int64_t processorCount() = 0;
    // None when the kernel does not give all three.
    virtual std::optional<LoadAverages> loadAverages() = 0;
    virtual tl::expected<CpuTicks, ReadError> readTicks() = 0;
    // 0 nominal, 1 fair, 2 serious, 3 critical; none where the machine reports no state.
    virtual std::optional<int> thermalState() = 0;
};

}  // namespace ostrel
