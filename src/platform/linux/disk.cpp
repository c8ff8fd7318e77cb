#include "platform/linux/disk.h"

#include <algorithm>
#include <array>
#include <limits>

#include "platform/linux/file_reader.h"
#include "platform/linux/text_scan.h"

namespace ostrel {
namespace {

using text_scan::nextField;
using text_scan::parseNumber;

constexpr uint64_t sectorBytes = 512;

}  // namespace

bool isWholeDisk(std::string_view name, bool hasDevice) {
    static constexpr std::string_view stacked[] = {"loop", "zram", "ram", "dm-", "md", "nbd"};
    for (const std::string_view prefix : stacked) {
        if (name.starts_with(prefix)) return false;
    }
    return hasDevice;
}

std::optional<DiskIOCounters> sumDiskstats(std::string_view text,
                                           const std::vector<std::string>& disks) {
    DiskIOCounters total;
    bool any = false;
    std::string_view line;
    while (text_scan::nextLine(text, line)) {
        // major minor name reads merged sectors-read ms writes merged sectors-written ...
        std::array<std::string_view, 10> fields;
        size_t count = 0;
        while (count < fields.size() && nextField(line, fields[count]))
            ++count;
        if (count < 3 || std::find(disks.begin(), disks.end(), fields[2]) == disks.end()) continue;
        if (count < fields.size()) return std::nullopt;
        const auto read = parseNumber<uint64_t>(fields[5]);
        const auto written = parseNumber<uint64_t>(fields[9]);
        constexpr uint64_t maxSectors = std::numeric_limits<uint64_t>::max() / sectorBytes;
        if (!read || !written || *read > maxSectors || *written > maxSectors) return std::nullopt;
        if (__builtin_add_overflow(total.bytesRead, *read * sectorBytes, &total.bytesRead) ||
            __builtin_add_overflow(total.bytesWritten, *written * sectorBytes,
                                   &total.bytesWritten)) {
            return std::nullopt;
        }
        any = true;
    }
    if (!any) return std::nullopt;
    return total;
}

LinuxDiskSource::LinuxDiskSource(std::string procRoot, std::string sysRoot, const Clock& clock,
                                 std::string volume)
    : diskstatsPath_(procRoot + "/diskstats"),
      diskstats_(diskstatsPath_, KernelFile::Generated::inPages),
      blockRoot_(sysRoot + "/block"),
      volume_(std::move(volume)),
      disks_(clock, diskRediscovery) {}

DiskCapacity capacityFromStatvfs(const struct statvfs& info) {
    // ext4 and others hold back blocks (5 % by default) that only root may fill: they are free
    // but not available, and df counts them neither as used nor as available.
    const uint64_t unit = info.f_frsize ? info.f_frsize : info.f_bsize;
    return {.totalBytes = static_cast<uint64_t>(info.f_blocks) * unit,
            .freeBytes = static_cast<uint64_t>(info.f_bfree) * unit,
            .availableBytes = static_cast<uint64_t>(info.f_bavail) * unit};
}

DiskCapacity LinuxDiskSource::capacity() {
    struct statvfs info;
    if (::statvfs(volume_.c_str(), &info) != 0) return {};
    return capacityFromStatvfs(info);
}

std::vector<std::string> LinuxDiskSource::findWholeDisks() const {
    std::vector<std::string> disks = linux_files::entryNames(blockRoot_);
    std::erase_if(disks, [this](const std::string& name) {
        return !isWholeDisk(name, linux_files::exists(blockRoot_ + "/" + name + "/device"));
    });
    return disks;
}

std::optional<DiskIOCounters> LinuxDiskSource::ioCounters() {
    const auto disks = disks_.get([this] { return findWholeDisks(); });
    if (disks->empty()) return std::nullopt;
    // A line is about 100 bytes; this holds several hundred devices.
    std::array<char, 65536> buffer;
    const auto text = diskstats_.read(buffer);
    if (!text) return std::nullopt;
    if (text->size() < buffer.size()) return sumDiskstats(*text, *disks);
    const auto whole = linux_files::readAll(diskstatsPath_.c_str());
    if (!whole) return std::nullopt;
    return sumDiskstats(*whole, *disks);
}

}  // namespace ostrel
