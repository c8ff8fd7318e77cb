#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "platform/linux/process_names.h"
#include "platform/process_source.h"

namespace ostrel {

// The process list from /proc: one stat file and one directory status per process, with user
// and full names cached across scans.
class LinuxProcessSource final : public ProcessSource {
  public:
    struct Options {
        std::string procRoot = "/proc";
        long ticksPerSecond = 0;  // 0: the system's
        long pageSize = 0;        // 0: the system's
        // The name of a user id; the system's password database when empty.
        std::function<std::optional<std::string>(uid_t)> userName;
    };

    LinuxProcessSource(Options options, std::shared_ptr<procfs::ProcessNameCache> names);
    tl::expected<ProcessTable, ReadError> listProcesses() override;

  private:
    std::string userNameOf(uid_t uid);

    Options options_;
    std::shared_ptr<procfs::ProcessNameCache> names_;
    std::mutex userNamesLock_;
    std::unordered_map<uid_t, std::string> userNames_;
};

// Proportional set sizes from /proc/<pid>/smaps_rollup: shared pages divided among their users,
// closer to what a process costs than its resident size. Each read walks the process's page
// tables, so only the few largest processes are read, off the sampling path.
class LinuxProcessMemorySource final : public ProcessMemorySource {
  public:
    explicit LinuxProcessMemorySource(std::string procRoot = "/proc");
    tl::expected<std::unordered_map<int32_t, double>, ReadError> refinedMemoryMB(
        const std::vector<int32_t>& candidates) override;

  private:
    std::string procRoot_;
};

}  // namespace ostrel
