#include "platform/linux/cpu.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "platform/linux/file_reader.h"
#include "platform/linux/proc_files.h"
#include "platform/linux/text_scan.h"

namespace ostrel {
namespace {

using text_scan::nextField;
using text_scan::parseNumber;
using text_scan::trim;

constexpr auto zoneRediscovery = std::chrono::seconds(60);
constexpr auto onlineRecount = std::chrono::seconds(5);

int tripLevel(std::string_view type) {
    if (type == "critical" || type == "hot") return 3;
    if (type == "passive") return 2;
    if (type == "active") return 1;
    return 0;
}

}  // namespace

tl::expected<CpuTicks, ReadError> parseProcStatTicks(std::string_view text) {
    std::string_view line;
    if (!text_scan::nextLine(text, line)) return tl::unexpected(ReadError::parse);
    std::string_view field;
    if (!nextField(line, field) || field != "cpu") return tl::unexpected(ReadError::parse);
    // user nice system idle iowait irq softirq steal guest guest_nice; older kernels stop early.
    std::array<uint64_t, 8> values{};
    size_t count = 0;
    while (count < values.size() && nextField(line, field)) {
        const auto value = parseNumber<uint64_t>(field);
        if (!value) return tl::unexpected(ReadError::parse);
        values[count++] = *value;
    }
    if (count < 4) return tl::unexpected(ReadError::parse);
    const auto [user, nice, system, idle, iowait, irq, softirq, steal] = values;
    // Sums of counters that each fit in 64 bits; a malformed file could still overflow them.
    CpuTicks ticks{.user = user, .system = system, .idle = idle, .nice = nice};
    if (__builtin_add_overflow(ticks.system, irq, &ticks.system) ||
        __builtin_add_overflow(ticks.system, softirq, &ticks.system) ||
        __builtin_add_overflow(ticks.system, steal, &ticks.system) ||
        __builtin_add_overflow(ticks.idle, iowait, &ticks.idle)) {
        return tl::unexpected(ReadError::parse);
    }
    return ticks;
}

std::optional<int64_t> countCpuList(std::string_view list) {
    list = trim(list);
    if (list.empty()) return std::nullopt;
    int64_t count = 0;
    while (!list.empty()) {
        const size_t comma = list.find(',');
        const std::string_view range = list.substr(0, comma);
        list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
        const size_t dash = range.find('-');
        const auto first = parseNumber<int64_t>(range.substr(0, dash));
        const auto last =
            dash == std::string_view::npos ? first : parseNumber<int64_t>(range.substr(dash + 1));
        if (!first || !last || *last < *first) return std::nullopt;
        count += *last - *first + 1;
    }
    return count;
}

std::optional<LoadAverages> parseLoadAverages(std::string_view text) {
    std::string_view one, five, fifteen;
    if (!nextField(text, one) || !nextField(text, five) || !nextField(text, fifteen)) {
        return std::nullopt;
    }
    const auto a = parseNumber<double>(one);
    const auto b = parseNumber<double>(five);
    const auto c = parseNumber<double>(fifteen);
    if (!a || !b || !c || *a < 0 || *b < 0 || *c < 0) return std::nullopt;
    return LoadAverages{*a, *b, *c};
}

std::optional<int> zoneThermalLevel(std::optional<long> temperature,
                                    const std::vector<ThermalTrip>& trips) {
    if (!temperature || trips.empty()) return std::nullopt;
    int level = 0;
    for (const ThermalTrip& trip : trips) {
        if (*temperature >= trip.temperature) level = std::max(level, tripLevel(trip.type));
    }
    return level;
}

LinuxCpuSource::LinuxCpuSource(std::string procRoot, std::string sysRoot, const Clock& clock)
    : stat_(procRoot + "/stat"),
      loadavg_(procRoot + "/loadavg"),
      online_(sysRoot + "/devices/system/cpu/online"),
      thermalRoot_(sysRoot + "/class/thermal"),
      onlineCount_(clock, onlineRecount),
      zones_(clock, zoneRediscovery) {}

int64_t LinuxCpuSource::processorCount() {
    return *onlineCount_.get([this] { return countOnline(); });
}

int64_t LinuxCpuSource::countOnline() {
    std::array<char, 256> buffer;
    const auto text = online_.read(buffer);
    const auto online = text ? countCpuList(*text) : std::nullopt;
    if (online && *online >= 1) return *online;
    const long configured = ::sysconf(_SC_NPROCESSORS_ONLN);
    return configured > 0 ? configured : 1;
}

std::optional<LoadAverages> LinuxCpuSource::loadAverages() {
    std::array<char, 128> buffer;
    const auto text = loadavg_.read(buffer);
    if (!text) return std::nullopt;
    return parseLoadAverages(*text);
}

tl::expected<CpuTicks, ReadError> LinuxCpuSource::readTicks() {
    // The aggregate line comes first; the rest of a long file is not needed.
    std::array<char, 1024> buffer;
    const auto text = stat_.read(buffer);
    if (!text) return tl::unexpected(text.error());
    return parseProcStatTicks(*text);
}

std::vector<LinuxCpuSource::Zone> LinuxCpuSource::discoverZones() const {
    std::vector<Zone> zones;
    for (const std::string& name : linux_files::numberedEntries(thermalRoot_, "thermal_zone")) {
        const std::string base = thermalRoot_ + "/" + name + "/";
        Zone zone{.temperaturePath = base + "temp"};
        for (int i = 0;; ++i) {
            const std::string trip = base + "trip_point_" + std::to_string(i) + "_";
            const auto type = linux_files::readAttribute(trip + "type");
            if (!type) break;
            const auto temperature = linux_files::readAttribute(trip + "temp");
            const auto value = temperature ? parseNumber<long>(*temperature) : std::nullopt;
            // Drivers mark unused trips with absurd temperatures; only real ones count.
            if (value && *value > 0) zone.trips.push_back({*type, *value});
        }
        if (!zone.trips.empty()) zones.push_back(std::move(zone));
    }
    return zones;
}

std::optional<int> LinuxCpuSource::thermalState() {
    const auto zones = zones_.get([this] { return discoverZones(); });
    if (zones->empty()) return std::nullopt;
    std::optional<int> state;
    for (const Zone& zone : *zones) {
        std::array<char, 32> buffer;
        const auto text = procfs::readFileAt(AT_FDCWD, zone.temperaturePath.c_str(), buffer);
        std::optional<long> temperature;
        if (text) temperature = parseNumber<long>(text_scan::trim(*text));
        if (const auto level = zoneThermalLevel(temperature, zone.trips)) {
            state = std::max(state.value_or(0), *level);
        }
    }
    return state;
}

}  // namespace ostrel
