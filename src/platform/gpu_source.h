#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "platform/read_error.h"

namespace ostrel {

// What one graphics device reports. Utilisations are raw percentages, not yet capped.
struct AcceleratorReading {
    std::optional<std::string> model;
    std::optional<int64_t> coreCount;
    std::optional<int64_t> deviceUtilization;
    std::optional<int64_t> rendererUtilization;
    std::optional<int64_t> tilerUtilization;
    std::optional<uint64_t> inUseMemoryBytes;
    std::optional<uint64_t> allocatedMemoryBytes;

    bool operator==(const AcceleratorReading&) const = default;
};

class GpuSource {
  public:
    virtual ~GpuSource() = default;
    // Every device in the platform's order; empty on a machine without one.
    virtual tl::expected<std::vector<AcceleratorReading>, ReadError> accelerators() = 0;
    // The core count of the first device that reports one.
    virtual std::optional<int64_t> coreCount() = 0;
};

}  // namespace ostrel
