#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.h"
#include "platform/cpu_source.h"
#include "platform/linux/kernel_file.h"
#include "platform/timed_cache.h"

namespace ostrel {

// The aggregate "cpu" line of /proc/stat mapped to the four counters behind the three shares
// of a sample. irq and softirq are kernel work, and steal is time the hypervisor gave to
// another guest: the processor was busy but not with our user code, so all three join system.
// iowait is idle time with a disk request outstanding, so it joins idle. guest and guest_nice
// are already inside user and nice (proc(5)). Nice counts in the total only. Against
// `sar -u ALL`: user = %usr + %guest, system = %sys + %irq + %soft + %steal,
// idle = %idle + %iowait.
tl::expected<CpuTicks, ReadError> parseProcStatTicks(std::string_view text);

// The three load averages at the start of /proc/loadavg, as getloadavg reads them.
std::optional<LoadAverages> parseLoadAverages(std::string_view text);

// Processors in a kernel CPU list ("0-15,20" is 17); none when malformed.
std::optional<int64_t> countCpuList(std::string_view list);

// A trip point of a thermal zone, in millidegrees Celsius.
struct ThermalTrip {
    std::string type;  // "active", "passive", "hot", "critical"
    long temperature = 0;
};

// One zone's thermal level by the highest trip point it has reached: active trips start fans
// (fair, 1), passive ones make the kernel throttle (serious, 2), hot and critical ones precede
// an emergency shutdown (critical, 3). None without a temperature or without trip points.
std::optional<int> zoneThermalLevel(std::optional<long> temperature,
                                    const std::vector<ThermalTrip>& trips);

// Processor counters and load from /proc, the online processors from sysfs, thermal state
// from the thermal zones
// under /sys (the hottest zone decides; "unknown" without zones). Zones and their trip points are
// found again once a minute; temperatures are read on each sample.
class LinuxCpuSource final : public CpuSource {
  public:
    LinuxCpuSource(std::string procRoot, std::string sysRoot, const Clock& clock);

    int64_t processorCount() override;
    std::optional<LoadAverages> loadAverages() override;
    tl::expected<CpuTicks, ReadError> readTicks() override;
    std::optional<int> thermalState() override;

  private:
    struct Zone {
        std::string temperaturePath;
        std::vector<ThermalTrip> trips;
    };
    std::vector<Zone> discoverZones() const;
    int64_t countOnline();

    KernelFile stat_;
    KernelFile loadavg_;
    KernelFile online_;
    const std::string thermalRoot_;
    // Processors go on and off line rarely; the count is read again after a few seconds.
    TimedCache<int64_t> onlineCount_;
    TimedCache<std::vector<Zone>> zones_;
};

}  // namespace ostrel
