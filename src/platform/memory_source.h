#pragma once

#include <cstdint>
#include <optional>
#include <tl/expected.hpp>

#include "platform/read_error.h"

namespace ostrel {

// Page classes in bytes and cumulative paging counts in pages. A field the kernel does not
// report stays absent rather than zero.
struct VmStats {
    std::optional<uint64_t> freeBytes;
    std::optional<uint64_t> activeBytes;
    std::optional<uint64_t> inactiveBytes;
    std::optional<uint64_t> wiredBytes;
    std::optional<uint64_t> compressedBytes;
    std::optional<int64_t> pageIns;
    std::optional<int64_t> pageOuts;
    std::optional<int64_t> swapIns;
    std::optional<int64_t> swapOuts;

    bool operator==(const VmStats&) const = default;
};

struct SwapUsage {
    uint64_t totalBytes = 0;
    uint64_t usedBytes = 0;
    uint64_t availableBytes = 0;

    bool operator==(const SwapUsage&) const = default;
};

// One reading of the memory counters, taken together because the kernel serves them from the
// same few files.
struct MemorySnapshot {
    std::optional<uint64_t> totalBytes;
    // 1 normal, 2 warning, 4 critical.
    std::optional<int64_t> pressureLevel;
    tl::expected<VmStats, ReadError> vmStats = tl::unexpected(ReadError::notFound);
    std::optional<SwapUsage> swap;
};

class MemorySource {
  public:
    virtual ~MemorySource() = default;
    virtual MemorySnapshot read() = 0;
};

}  // namespace ostrel
