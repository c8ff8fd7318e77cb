#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/disk_source.h"

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

// Capacity from statvfs of the boot volume; I/O counters from /proc/diskstats over the whole
// disks that /sys/block lists at the moment of reading, so hot-plugged disks join at once.
class LinuxDiskSource final : public DiskSource {
  public:
    LinuxDiskSource(std::string procRoot, std::string sysRoot, std::string volume = "/");

    DiskCapacity capacity() override;
    std::optional<DiskIOCounters> ioCounters() override;

  private:
    std::vector<std::string> wholeDisks() const;

    const std::string diskstatsPath_;
    const std::string blockRoot_;
    const std::string volume_;
};

}  // namespace ostrel
