#include "platform/linux/system_info.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <systemd/sd-login.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>

#include "platform/linux/cpu.h"
#include "platform/linux/file_reader.h"
#include "platform/linux/proc_files.h"
#include "platform/linux/text_scan.h"
#include "records/text.h"

namespace ostrel {
namespace {

using text_scan::parseNumber;
using text_scan::trim;

// Leading digits of `text`, taken off it.
std::optional<int64_t> leadingNumber(std::string_view& text) {
    size_t length = 0;
    while (length < text.size() && text[length] >= '0' && text[length] <= '9')
        ++length;
    const auto value = parseNumber<int64_t>(text.substr(0, length));
    text.remove_prefix(length);
    return value;
}

std::optional<std::string> readModel(const std::string& sysRoot) {
    if (auto product = linux_files::readAttribute(sysRoot + "/class/dmi/id/product_name")) {
        if (!isPlaceholderModel(*product)) return product;
    }
    if (auto board = linux_files::readAttribute(sysRoot + "/class/dmi/id/board_name")) {
        if (!isPlaceholderModel(*board)) return board;
    }
    // Boards without DMI (most ARM machines) name themselves in the device tree, NUL-ended.
    auto model = linux_files::readAttribute(sysRoot + "/firmware/devicetree/base/model");
    if (model) model->erase(std::remove(model->begin(), model->end(), '\0'), model->end());
    if (model && model->empty()) return std::nullopt;
    return model;
}

std::optional<CoreSplit> readCoreSplit(const std::string& sysRoot) {
    // Intel's hybrid processors register one PMU per core kind, each with its CPU list.
    const auto core = linux_files::readAttribute(sysRoot + "/devices/cpu_core/cpus");
    const auto atom = linux_files::readAttribute(sysRoot + "/devices/cpu_atom/cpus");
    if (core && atom) {
        const auto performance = countCpuList(*core);
        const auto efficiency = countCpuList(*atom);
        if (performance && efficiency) return CoreSplit{*performance, *efficiency};
    }
    std::vector<long> capacities;
    const std::string cpuRoot = sysRoot + "/devices/system/cpu/";
    for (const std::string& cpu : linux_files::numberedEntries(cpuRoot, "cpu")) {
        const auto text = linux_files::readAttribute(cpuRoot + cpu + "/cpu_capacity");
        if (const auto capacity = text ? parseNumber<long>(*text) : std::nullopt) {
            capacities.push_back(*capacity);
        }
    }
    return splitByCapacity(capacities);
}

}  // namespace

std::optional<OsVersion> parseKernelRelease(std::string_view release) {
    release = trim(release);
    OsVersion version;
    const auto major = leadingNumber(release);
    if (!major || !release.starts_with('.')) return std::nullopt;
    release.remove_prefix(1);
    const auto minor = leadingNumber(release);
    if (!minor) return std::nullopt;
    version.major = *major;
    version.minor = *minor;
    if (release.starts_with('.')) {
        release.remove_prefix(1);
        version.patch = leadingNumber(release).value_or(0);
    }
    return version;
}

std::optional<std::string> parseCpuBrand(std::string_view cpuinfo) {
    std::string_view line;
    while (text_scan::nextLine(cpuinfo, line)) {
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos || trim(line.substr(0, colon)) != "model name")
            continue;
        const std::string_view brand = trim(line.substr(colon + 1));
        if (brand.empty()) return std::nullopt;
        return std::string(brand);
    }
    return std::nullopt;
}

std::optional<CoreSplit> splitByCapacity(const std::vector<long>& capacities) {
    if (capacities.empty()) return std::nullopt;
    const long lowest = *std::min_element(capacities.begin(), capacities.end());
    const auto efficiency = std::count(capacities.begin(), capacities.end(), lowest);
    const auto total = static_cast<int64_t>(capacities.size());
    if (efficiency == total) return std::nullopt;
    return CoreSplit{total - efficiency, efficiency};
}

std::optional<std::string> parsePrettyHostname(std::string_view machineInfo) {
    std::string_view line;
    while (text_scan::nextLine(machineInfo, line)) {
        line = trim(line);
        if (!line.starts_with("PRETTY_HOSTNAME=")) continue;
        std::string_view value = line.substr(16);
        std::string name;
        if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
            value.back() == value.front()) {
            const char quote = value.front();
            value = value.substr(1, value.size() - 2);
            for (size_t i = 0; i < value.size(); ++i) {
                // Inside double quotes a backslash escapes the next character.
                if (quote == '"' && value[i] == '\\' && i + 1 < value.size()) ++i;
                name += value[i];
            }
        } else {
            name = value;
        }
        if (name.empty()) return std::nullopt;
        return name;
    }
    return std::nullopt;
}

std::optional<std::string> accountName(uid_t uid) {
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 4096> buffer;
    if (::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || !found) {
        return std::nullopt;
    }
    return std::string(found->pw_name);
}

bool isPlaceholderModel(std::string_view name) {
    static constexpr std::string_view placeholders[] = {"to be filled by o.e.m.",
                                                        "system product name",
                                                        "default string",
                                                        "not specified",
                                                        "not applicable",
                                                        "none",
                                                        "system name",
                                                        "o.e.m."};
    const std::string lower = asciiLowered(trim(name));
    if (lower.empty()) return true;
    return std::find(std::begin(placeholders), std::end(placeholders), lower) !=
           std::end(placeholders);
}

LinuxSystemInfoSource::LinuxSystemInfoSource(const std::string& procRoot,
                                             const std::string& sysRoot, const std::string& etcRoot)
    : machineInfoPath_(etcRoot + "/machine-info"), machineInfoWatch_(machineInfoPath_) {
    utsname names;
    if (::uname(&names) == 0) osVersion_ = parseKernelRelease(names.release);
    hardwareModel_ = readModel(sysRoot);
    std::array<char, 16384> buffer;
    if (const auto cpuinfo =
            procfs::readFileAt(AT_FDCWD, (procRoot + "/cpuinfo").c_str(), buffer)) {
        cpuBrand_ = parseCpuBrand(*cpuinfo);
    }
    if (const auto split = readCoreSplit(sysRoot)) {
        performanceCores_ = split->performance;
        efficiencyCores_ = split->efficiency;
    }
}

std::string LinuxSystemInfoSource::hostName() {
    // The pretty name is the one people gave the machine; the kernel's name otherwise. The file
    // is read again only when it may have changed.
    if (machineInfoWatch_.mayHaveChanged()) {
        std::array<char, 1024> buffer;
        const auto text = procfs::readFileAt(AT_FDCWD, machineInfoPath_.c_str(), buffer);
        std::lock_guard guard(prettyNameLock_);
        prettyName_ = text ? parsePrettyHostname(*text) : std::nullopt;
    }
    {
        std::lock_guard guard(prettyNameLock_);
        if (prettyName_) return *prettyName_;
    }
    std::array<char, 256> name{};
    if (::gethostname(name.data(), name.size() - 1) != 0) return "localhost";
    return name.data();
}

std::optional<int64_t> LinuxSystemInfoSource::bootTimeSeconds() {
    timespec wall, sinceBoot;
    if (::clock_gettime(CLOCK_REALTIME, &wall) != 0 ||
        ::clock_gettime(CLOCK_BOOTTIME, &sinceBoot) != 0) {
        return std::nullopt;
    }
    // Rounded to the second, so that two readings a few nanoseconds apart agree.
    const int64_t nanoseconds =
        (static_cast<int64_t>(wall.tv_sec) - sinceBoot.tv_sec) * 1'000'000'000 +
        (wall.tv_nsec - sinceBoot.tv_nsec);
    return (nanoseconds + 500'000'000) / 1'000'000'000;
}

std::optional<std::string> LinuxSystemInfoSource::consoleUser() {
    // The user of the active session on the first seat: the one at the physical console.
    uid_t uid = 0;
    char* session = nullptr;
    if (sd_seat_get_active("seat0", &session, &uid) < 0) return std::nullopt;
    std::free(session);
    return accountName(uid).value_or(std::to_string(uid));
}

}  // namespace ostrel
