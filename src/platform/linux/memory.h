#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/linux/kernel_file.h"
#include "platform/memory_source.h"

namespace ostrel {

// The lines of /proc/meminfo that a sample uses, in bytes.
struct MeminfoValues {
    std::optional<uint64_t> total;
    std::optional<uint64_t> free;
    std::optional<uint64_t> available;
    std::optional<uint64_t> active;
    std::optional<uint64_t> inactive;
    std::optional<uint64_t> unevictable;
    std::optional<uint64_t> slabUnreclaimable;
    std::optional<uint64_t> kernelStack;
    std::optional<uint64_t> pageTables;
    std::optional<uint64_t> secondaryPageTables;
    std::optional<uint64_t> percpu;
    std::optional<uint64_t> zswap;
    std::optional<uint64_t> swapTotal;
    std::optional<uint64_t> swapFree;

    bool operator==(const MeminfoValues&) const = default;
};
MeminfoValues parseMeminfo(std::string_view text);

// Memory that cannot be paged out or reclaimed, the counterpart of wired pages. The kernel's
// meminfo documentation (Documentation/filesystems/proc.rst) names it in two parts: user pages
// pinned in memory (Unevictable: mlocked pages, ramfs, locked shared memory), and the kernel's
// own memory that it never frees under pressure: SUnreclaim (slab that cannot be reclaimed),
// KernelStack, PageTables, SecPageTables (KVM and IOMMU tables) and Percpu. Reclaimable slab,
// caches and buffers are left out: the kernel gives them back. A line the kernel lacks adds
// nothing; none of them at all gives no figure.
std::optional<uint64_t> wiredBytes(const MeminfoValues& meminfo);

// Cumulative paging counters of /proc/vmstat as the kernel prints them: pgpgin and pgpgout in
// KiB, pswpin and pswpout in pages.
struct VmstatCounters {
    std::optional<uint64_t> pgpgin;
    std::optional<uint64_t> pgpgout;
    std::optional<uint64_t> pswpin;
    std::optional<uint64_t> pswpout;

    bool operator==(const VmstatCounters&) const = default;
};
VmstatCounters parseVmstat(std::string_view text);

// The ten-second averages of /proc/pressure/memory: the share of time in which some, or all,
// runnable tasks were stalled waiting for memory.
struct MemoryPressureStall {
    double someAvg10 = 0;
    double fullAvg10 = 0;
};
std::optional<MemoryPressureStall> parsePressureMemory(std::string_view text);

// Thresholds of the two raised levels, each entered at one value of its measure and left only
// below a lower one, so that a measure near a threshold does not make the level flap.
struct PressureThresholds {
    double warningEnter, warningLeave;
    double criticalEnter, criticalLeave;
};
// From PSI (Documentation/accounting/psi.rst): warning when tasks were stalled 10% of the last
// ten seconds, until that falls under 5%; critical when all tasks were stalled 10% of it, until
// that falls under 5%.
inline constexpr PressureThresholds stallThresholds{10, 5, 10, 5};
// Where PSI is off, from the share of memory that is not available: warning at 90% (less than
// a tenth available) until 85%, critical at 95% until 92.5%.
inline constexpr PressureThresholds unavailableThresholds{90, 85, 95, 92.5};

// The next level (1 normal, 2 warning, 4 critical) from the current one and the two measures.
int64_t nextPressureLevel(int64_t current, double warningMeasure, double criticalMeasure,
                          const PressureThresholds& thresholds);

// Assembles the memory snapshot from one read of each file that the kernel generates.
// Every figure keeps its own failure: a missing file or line leaves only its fields absent.
class LinuxMemorySource final : public MemorySource {
  public:
    explicit LinuxMemorySource(const std::string& procRoot);

    MemorySnapshot read() override;

  private:
    std::optional<int64_t> pressureLevel(const MeminfoValues& meminfo);

    VmstatCounters readVmstat(std::span<char> buffer);

    KernelFile meminfo_;
    KernelFile vmstat_;
    KernelFile pressure_;
    const uint64_t pageSize_;
    std::mutex levelLock_;
    int64_t level_ = 1;
};

}  // namespace ostrel
