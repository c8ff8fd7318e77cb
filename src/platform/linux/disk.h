#pragma once

#include <sys/statvfs.h>

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.h"
#include "platform/disk_source.h"
#include "platform/linux/kernel_file.h"
#include "platform/timed_cache.h"

namespace ostrel {

// Whether a block device is a whole physical disk: it has a device behind it in sysfs, and is
// none of the kinds whose traffic is already counted on the disks below them (partitions,
// loop, zram, ram, device-mapper, md).
bool isWholeDisk(std::string_view name, bool hasDevice);

// Bytes read and written over the named disks, from /proc/diskstats (sectors of 512 bytes,
// whatever the device's own sector size). None when no listed disk has a line, or when a line
// of a listed disk is malformed: a partial sum would look like a counter going backwards.
std::optional<DiskIOCounters> sumDiskstats(std::string_view text,
                                           const std::vector<std::string>& disks);

// Capacity of a file system as statvfs gives it, in bytes.
DiskCapacity capacityFromStatvfs(const struct statvfs& info);

// Capacity from statvfs of the boot volume; I/O counters from /proc/diskstats over the whole
// disks that /sys/block lists, looked up again once a minute so hot-plugged disks join.
class LinuxDiskSource final : public DiskSource {
  public:
    static constexpr auto diskRediscovery = std::chrono::seconds(60);

    LinuxDiskSource(std::string procRoot, std::string sysRoot, const Clock& clock,
                    std::string volume = "/");

    DiskCapacity capacity() override;
    std::optional<DiskIOCounters> ioCounters() override;

  private:
    std::vector<std::string> findWholeDisks() const;

    const std::string diskstatsPath_;
    KernelFile diskstats_;
    const std::string blockRoot_;
    const std::string volume_;
    TimedCache<std::vector<std::string>> disks_;
};

}  // namespace ostrel
