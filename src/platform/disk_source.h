#pragma once

#include <cstdint>
#include <optional>

namespace ostrel {

// Capacity of the boot volume; a figure the platform does not give stays absent.
struct DiskCapacity {
    std::optional<uint64_t> totalBytes;
    // Every free block, those that only the superuser may use included. Absent where no blocks
    // are held back, so that free and available are the same.
    std::optional<uint64_t> freeBytes;
    // What an ordinary user may still write.
    std::optional<uint64_t> availableBytes;

    bool operator==(const DiskCapacity&) const = default;
};

// Bytes transferred since boot, over all physical disks.
struct DiskIOCounters {
    uint64_t bytesRead = 0;
    uint64_t bytesWritten = 0;

    bool operator==(const DiskIOCounters&) const = default;
};

class DiskSource {
  public:
    virtual ~DiskSource() = default;
    virtual DiskCapacity capacity() = 0;
    // None when no disk gave statistics.
    virtual std::optional<DiskIOCounters> ioCounters() = 0;
};

}  // namespace ostrel
