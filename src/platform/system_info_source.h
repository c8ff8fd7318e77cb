#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ostrel {

struct OsVersion {
    int64_t major = 0;
    int64_t minor = 0;
    int64_t patch = 0;

    bool operator==(const OsVersion&) const = default;
};

// Facts about the machine and its session.
class SystemInfoSource {
  public:
    virtual ~SystemInfoSource() = default;
    // The name the sample carries for this machine.
    virtual std::string hostName() = 0;
    // Unix time of boot in whole seconds.
    virtual std::optional<int64_t> bootTimeSeconds() = 0;
    virtual std::optional<OsVersion> osVersion() = 0;
    virtual std::optional<std::string> hardwareModel() = 0;
    virtual std::optional<std::string> cpuBrand() = 0;
    virtual std::optional<std::string> consoleUser() = 0;
    // Logical processors of the fast and the efficient kind, on machines that have both.
    virtual std::optional<int64_t> performanceCores() = 0;
    virtual std::optional<int64_t> efficiencyCores() = 0;
};

}  // namespace ostrel
