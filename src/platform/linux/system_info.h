#pragma once

#include <sys/types.h>

#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/file_change_watch.h"
#include "platform/system_info_source.h"

namespace ostrel {

// "6.18.44-fc-v769" as 6, 18, 44; a release without a patch level ("6.1-rc3") has patch 0.
std::optional<OsVersion> parseKernelRelease(std::string_view release);

// The first "model name" of /proc/cpuinfo.
std::optional<std::string> parseCpuBrand(std::string_view cpuinfo);

// Performance and efficiency processors from each processor's relative capacity (ARM's
// big.LITTLE and later hybrid designs): the least capable kind is efficiency, every other
// performance. None when all processors are alike.
struct CoreSplit {
    int64_t performance = 0;
    int64_t efficiency = 0;

    bool operator==(const CoreSplit&) const = default;
};
std::optional<CoreSplit> splitByCapacity(const std::vector<long>& capacities);

// PRETTY_HOSTNAME of /etc/machine-info, unquoted as that environment-style file allows.
std::optional<std::string> parsePrettyHostname(std::string_view machineInfo);

// The name of a user account from the password database; none for an id without an account.
std::optional<std::string> accountName(uid_t uid);

// Whether a DMI product name is one of the placeholders that board makers leave in.
bool isPlaceholderModel(std::string_view name);

// Machine facts from uname, /proc, sysfs (DMI, device tree, CPU topology) and systemd's seat
// records. What cannot change while the machine runs is read once, at construction.
class LinuxSystemInfoSource final : public SystemInfoSource {
  public:
    LinuxSystemInfoSource(const std::string& procRoot, const std::string& sysRoot,
                          const std::string& etcRoot);

    std::string hostName() override;
    std::optional<int64_t> bootTimeSeconds() override;
    std::optional<OsVersion> osVersion() override { return osVersion_; }
    std::optional<std::string> hardwareModel() override { return hardwareModel_; }
    std::optional<std::string> cpuBrand() override { return cpuBrand_; }
    std::optional<std::string> consoleUser() override;
    std::optional<int64_t> performanceCores() override { return performanceCores_; }
    std::optional<int64_t> efficiencyCores() override { return efficiencyCores_; }

  private:
    const std::string machineInfoPath_;
    FileChangeWatch machineInfoWatch_;
    std::mutex prettyNameLock_;
    std::optional<std::string> prettyName_;
    std::optional<OsVersion> osVersion_;
    std::optional<std::string> hardwareModel_;
    std::optional<std::string> cpuBrand_;
    std::optional<int64_t> performanceCores_;
    std::optional<int64_t> efficiencyCores_;
};

}  // namespace ostrel
