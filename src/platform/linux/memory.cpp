#include "platform/linux/memory.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <limits>

#include "platform/linux/file_reader.h"
#include "platform/linux/text_scan.h"

namespace ostrel {
namespace {

using text_scan::nextField;
using text_scan::nextLine;
using text_scan::parseNumber;

// "Name:   1234 kB" in bytes; a line without the unit is taken as a count and refused here.
std::optional<uint64_t> kibibyteValue(std::string_view rest) {
    std::string_view number, unit;
    if (!nextField(rest, number) || !nextField(rest, unit) || unit != "kB") return std::nullopt;
    const auto kib = parseNumber<uint64_t>(number);
    if (!kib || *kib > std::numeric_limits<uint64_t>::max() / 1024) return std::nullopt;
    return *kib * 1024;
}

std::optional<int64_t> pagesFromKibibytes(const std::optional<uint64_t>& kib, uint64_t pageSize) {
    if (!kib || pageSize == 0 || *kib > static_cast<uint64_t>(INT64_MAX) / 1024) {
        return std::nullopt;
    }
    return static_cast<int64_t>(*kib * 1024 / pageSize);
}

std::optional<int64_t> signedCount(const std::optional<uint64_t>& count) {
    if (!count || *count > static_cast<uint64_t>(INT64_MAX)) return std::nullopt;
    return static_cast<int64_t>(*count);
}

// "avg10=1.23" in the fields of one line of a pressure file.
std::optional<double> averageOfTenSeconds(std::string_view line) {
    std::string_view field;
    while (nextField(line, field)) {
        if (field.starts_with("avg10=")) return parseNumber<double>(field.substr(6));
    }
    return std::nullopt;
}

}  // namespace

MeminfoValues parseMeminfo(std::string_view text) {
    MeminfoValues values;
    struct Key {
        std::string_view name;
        std::optional<uint64_t> MeminfoValues::*field;
    };
    static constexpr Key keys[] = {
        {"MemTotal:", &MeminfoValues::total},
        {"MemFree:", &MeminfoValues::free},
        {"MemAvailable:", &MeminfoValues::available},
        {"Active:", &MeminfoValues::active},
        {"Inactive:", &MeminfoValues::inactive},
        {"Unevictable:", &MeminfoValues::unevictable},
        {"SUnreclaim:", &MeminfoValues::slabUnreclaimable},
        {"KernelStack:", &MeminfoValues::kernelStack},
        {"PageTables:", &MeminfoValues::pageTables},
        {"SecPageTables:", &MeminfoValues::secondaryPageTables},
        {"Percpu:", &MeminfoValues::percpu},
        {"Zswap:", &MeminfoValues::zswap},
        {"SwapTotal:", &MeminfoValues::swapTotal},
        {"SwapFree:", &MeminfoValues::swapFree},
    };
    std::string_view line;
    while (nextLine(text, line)) {
        std::string_view name;
        if (!nextField(line, name)) continue;
        for (const Key& key : keys) {
            if (name == key.name) {
                values.*key.field = kibibyteValue(line);
                break;
            }
        }
    }
    return values;
}

std::optional<uint64_t> wiredBytes(const MeminfoValues& meminfo) {
    std::optional<uint64_t> total;
    for (const auto& part : {meminfo.unevictable, meminfo.slabUnreclaimable, meminfo.kernelStack,
                             meminfo.pageTables, meminfo.secondaryPageTables, meminfo.percpu}) {
        if (!part) continue;
        uint64_t sum = 0;
        // Only a corrupt file could overflow: no figure rather than a wrapped one.
        if (__builtin_add_overflow(total.value_or(0), *part, &sum)) return std::nullopt;
        total = sum;
    }
    return total;
}

VmstatCounters parseVmstat(std::string_view text) {
    // The kernel prints the four one after another: each search starts where the last one
    // ended, and from the top only where that finds nothing.
    size_t from = 0;
    const auto counter = [&](std::string_view name) -> std::optional<uint64_t> {
        auto value = text_scan::lineValue(text.substr(from), name, ' ');
        if (!value) value = text_scan::lineValue(text, name, ' ');
        if (!value) return std::nullopt;
        from = static_cast<size_t>(value->data() + value->size() - text.data());
        return parseNumber<uint64_t>(text_scan::trim(*value));
    };
    return {.pgpgin = counter("pgpgin"),
            .pgpgout = counter("pgpgout"),
            .pswpin = counter("pswpin"),
            .pswpout = counter("pswpout")};
}

std::optional<MemoryPressureStall> parsePressureMemory(std::string_view text) {
    std::optional<double> some, full;
    std::string_view line;
    while (nextLine(text, line)) {
        std::string_view kind;
        if (!nextField(line, kind)) continue;
        if (kind == "some") some = averageOfTenSeconds(line);
        if (kind == "full") full = averageOfTenSeconds(line);
    }
    if (!some || !full) return std::nullopt;
    return MemoryPressureStall{*some, *full};
}

int64_t nextPressureLevel(int64_t current, double warningMeasure, double criticalMeasure,
                          const PressureThresholds& t) {
    if (criticalMeasure >= t.criticalEnter ||
        (current == 4 && criticalMeasure >= t.criticalLeave)) {
        return 4;
    }
    if (warningMeasure >= t.warningEnter || (current >= 2 && warningMeasure >= t.warningLeave)) {
        return 2;
    }
    return 1;
}

LinuxMemorySource::LinuxMemorySource(const std::string& procRoot)
    : meminfo_(procRoot + "/meminfo"),
      vmstat_(procRoot + "/vmstat", KernelFile::Generated::inPages),
      pressure_(procRoot + "/pressure/memory"),
      pageSize_(static_cast<uint64_t>(::sysconf(_SC_PAGESIZE))) {}

std::optional<int64_t> LinuxMemorySource::pressureLevel(const MeminfoValues& meminfo) {
    std::array<char, 512> buffer;
    const auto text = pressure_.read(buffer);
    const auto stall = text ? parsePressureMemory(*text) : std::nullopt;
    std::optional<double> unavailablePercent;
    if (!stall && meminfo.total && *meminfo.total > 0 && meminfo.available) {
        unavailablePercent = 100.0 - static_cast<double>(*meminfo.available) /
                                         static_cast<double>(*meminfo.total) * 100.0;
    }
    if (!stall && !unavailablePercent) return std::nullopt;
    std::lock_guard lock(levelLock_);
    level_ = stall ? nextPressureLevel(level_, stall->someAvg10, stall->fullAvg10, stallThresholds)
                   : nextPressureLevel(level_, *unavailablePercent, *unavailablePercent,
                                       unavailableThresholds);
    return level_;
}

VmstatCounters LinuxMemorySource::readVmstat(std::span<char> buffer) {
    // The kernel generates /proc/vmstat only as far as it is read, and the paging counters stand
    // in its first two kilobytes; the whole file is read only where they do not.
    for (const size_t length : {size_t{2048}, buffer.size()}) {
        const auto text = vmstat_.read(buffer.first(std::min(length, buffer.size())));
        if (!text) return {};
        const VmstatCounters counters = parseVmstat(*text);
        const bool complete =
            counters.pgpgin && counters.pgpgout && counters.pswpin && counters.pswpout;
        if (complete || text->size() < length) return counters;
    }
    return {};
}

MemorySnapshot LinuxMemorySource::read() {
    MemorySnapshot snapshot;
    std::array<char, 8192> buffer;

    const auto meminfoText = meminfo_.read(buffer);
    const MeminfoValues meminfo = meminfoText ? parseMeminfo(*meminfoText) : MeminfoValues{};
    snapshot.totalBytes = meminfo.total;
    snapshot.pressureLevel = pressureLevel(meminfo);
    if (meminfo.swapTotal && meminfo.swapFree && *meminfo.swapFree <= *meminfo.swapTotal) {
        snapshot.swap = SwapUsage{*meminfo.swapTotal, *meminfo.swapTotal - *meminfo.swapFree,
                                  *meminfo.swapFree};
    }

    const VmstatCounters counters = readVmstat(buffer);
    const bool vmstatRead =
        counters.pgpgin || counters.pgpgout || counters.pswpin || counters.pswpout;
    if (!meminfoText && !vmstatRead) {
        snapshot.vmStats = tl::unexpected(meminfoText.error());
        return snapshot;
    }
    // zswap holds compressed pages. pgpgin and pgpgout count KiB, so they are turned into pages
    // to match the swap counts.
    snapshot.vmStats = VmStats{
        .freeBytes = meminfo.free,
        .activeBytes = meminfo.active,
        .inactiveBytes = meminfo.inactive,
        .wiredBytes = wiredBytes(meminfo),
        .compressedBytes = meminfo.zswap,
        .pageIns = pagesFromKibibytes(counters.pgpgin, pageSize_),
        .pageOuts = pagesFromKibibytes(counters.pgpgout, pageSize_),
        .swapIns = signedCount(counters.pswpin),
        .swapOuts = signedCount(counters.pswpout),
    };
    return snapshot;
}

}  // namespace ostrel
