#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <tl/expected.hpp>
#include <unordered_map>
#include <vector>

#include "platform/clock.h"
#include "platform/read_error.h"

namespace ostrel {

// One process as the machine reports it, before any derivation.
struct ProcessReading {
    int32_t pid = 0;
    int32_t ppid = 0;
    // The executable's name, not cut short where the platform can tell the full one.
    std::string name;
    // The effective user's name, or the numeric id where no name is known.
    std::string user;
    uint64_t residentBytes = 0;
    // A source that measures the percentage itself (a tool's output) fills cpuPercent
    // (100 = one full core). A source of kernel counters fills cpuTime and startTime instead,
    // and the collector derives the percentage between two scans.
    std::optional<double> cpuPercent;
    std::optional<Duration> cpuTime;    // user + system time since the process started
    std::optional<Duration> startTime;  // since boot; with pid it tells a reused pid apart

    bool operator==(const ProcessReading&) const = default;
};

struct ProcessTable {
    // Since boot, when the table was read: the same origin as ProcessReading::startTime.
    Duration scanTime{0};
    std::vector<ProcessReading> processes;
};

// The machine's process list. Processes that vanish or cannot be read while the list is taken
// are left out; an error means no list could be taken at all.
class ProcessSource {
  public:
    virtual ~ProcessSource() = default;
    virtual tl::expected<ProcessTable, ReadError> listProcesses() = 0;
};

// A process worth a finer memory figure, as the sample's listing read it: the start time tells
// a reused pid, the resident size whether a figure read earlier still holds.
struct MemoryCandidate {
    int32_t pid = 0;
    std::optional<Duration> startTime;
    uint64_t residentBytes = 0;

    bool operator==(const MemoryCandidate&) const = default;
};

// Memory figures finer than the resident size (shared pages counted proportionally), in
// mebibytes, for the largest processes. Slow: called off the sampling path.
class ProcessMemorySource {
  public:
    virtual ~ProcessMemorySource() = default;
    // `candidates` come from the sample's listing, largest resident size first, and are not
    // listed again. A source that ranks processes by itself may ignore them. Processes it
    // cannot read are left out of the map.
    virtual tl::expected<std::unordered_map<int32_t, double>, ReadError> refinedMemoryMB(
        const std::vector<MemoryCandidate>& candidates) = 0;
    // Whether refinedMemoryMB would read anything for these candidates now, so that a caller
    // can leave a queue asleep; a source that cannot tell says yes.
    virtual bool needsRead(const std::vector<MemoryCandidate>& /*candidates*/) { return true; }
};

// Cumulative bytes one process has read from and written to storage.
struct ProcessDiskCounters {
    int32_t pid = 0;
    std::string name;
    uint64_t bytesRead = 0;
    uint64_t bytesWritten = 0;

    bool operator==(const ProcessDiskCounters&) const = default;
};

// The per-process readers below read the processes of the sample's own listing (`pids`,
// ascending) rather than listing them again. A process that ended since the listing is left out
// in silence; one that started since is read with the next sample's listing.
class ProcessDiskSource {
  public:
    virtual ~ProcessDiskSource() = default;
    // Processes whose counters cannot be read, or that have done no disk I/O, may be left out.
    virtual tl::expected<std::vector<ProcessDiskCounters>, ReadError> readDiskCounters(
        const std::vector<int32_t>& pids) = 0;
};

// Bytes one process has received and sent over its open connections, cumulative.
struct ProcessNetworkCounters {
    int32_t pid = 0;
    std::string name;
    uint64_t bytesIn = 0;
    uint64_t bytesOut = 0;

    bool operator==(const ProcessNetworkCounters&) const = default;
};

class ProcessNetworkSource {
  public:
    virtual ~ProcessNetworkSource() = default;
    // One reading per process with traffic; processes whose sockets cannot be attributed are
    // left out.
    virtual tl::expected<std::vector<ProcessNetworkCounters>, ReadError> readNetworkCounters(
        const std::vector<int32_t>& pids) = 0;
};

// The sources of one machine. Any of the optional ones may be null: its figures stay absent.
// Every source must be safe to call from two threads at once.
struct ProcessSources {
    std::shared_ptr<ProcessSource> processes;
    std::shared_ptr<ProcessMemorySource> memory;
    std::shared_ptr<ProcessDiskSource> disk;
    std::shared_ptr<ProcessNetworkSource> network;
    // The program's own pid: its own tool children never count as load.
    int32_t ownPid = 0;
};

// The sources of this machine, implemented per platform.
ProcessSources makePlatformProcessSources(const Clock& clock);

}  // namespace ostrel
