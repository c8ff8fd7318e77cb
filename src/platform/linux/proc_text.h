#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// Pure parsers of the kernel's per-process text files (proc(5)).
namespace ostrel::procfs {

// The fields of /proc/<pid>/stat that a process list needs; times in clock ticks.
struct ProcStat {
    int32_t pid = 0;
    std::string_view comm;  // points into the parsed text
    int32_t ppid = 0;
    uint64_t utime = 0;
    uint64_t stime = 0;
    uint64_t startTime = 0;  // since boot
    uint64_t rssPages = 0;

    bool operator==(const ProcStat&) const = default;
};

// The name stands in parentheses and may itself hold spaces and ")", so the fields are
// counted from the last ")".
std::optional<ProcStat> parseProcStat(std::string_view text);

// The first figure of /proc/uptime, in seconds.
std::optional<double> parseUptimeSeconds(std::string_view text);

// "read_bytes" and "write_bytes" of /proc/<pid>/io: the bytes that went to storage, not
// those served from the page cache.
struct ProcIo {
    uint64_t readBytes = 0;
    uint64_t writeBytes = 0;

    bool operator==(const ProcIo&) const = default;
};
std::optional<ProcIo> parseProcIo(std::string_view text);

// The "Pss:" line of /proc/<pid>/smaps_rollup, in kibibytes.
std::optional<uint64_t> parsePssKiB(std::string_view text);

// The "inuse" figure of the "TCP:" or "TCP6:" line of /proc/net/sockstat or sockstat6.
std::optional<uint64_t> parseTcpSocketsInUse(std::string_view text);

// The inode of a descriptor link "socket:[12345]"; other links give nothing.
std::optional<uint64_t> parseSocketInode(std::string_view link);

// The kernel keeps 15 characters of a name. When `comm` may have been cut there, the base name
// of the command line's first argument gives the rest, if it starts with `comm`; a title the
// process rewrote loses what follows the first space past the kernel's part.
std::string_view fullProcessName(std::string_view comm, std::string_view cmdline);
inline constexpr size_t kKernelNameLength = 15;

}  // namespace ostrel::procfs
