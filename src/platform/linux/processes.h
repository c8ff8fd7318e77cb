#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "platform/linux/kernel_file.h"
#include "platform/linux/proc_files.h"
#include "platform/linux/process_names.h"
#include "platform/process_source.h"

namespace ostrel {

// The process list from /proc. System calls are the cost of a scan, so a scan keeps each
// process's stat file open and reads it with one pread; the owner (one fstatat) is read again
// when the process is new, when it ran another program, and every kOwnerRefresh scans
// otherwise; user and full names are cached for the life of the process.
// Two scans may run at once: the second one does without the kept descriptors.
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

    static constexpr uint64_t kOwnerRefresh = 8;
    static constexpr int32_t kKernelThreadParent = 2;

  private:
    struct Owner {
        uid_t uid = 0;
        std::string comm;
    };
    // Kept from scan to scan, used by one scan at a time.
    struct ScanState {
        explicit ScanState(size_t budget) : stat("stat", budget) {}
        procfs::ProcFileHandles stat;
        std::unordered_map<int32_t, Owner> owners;
        uint64_t scans = 0;
    };

    std::string userNameOf(uid_t uid);
    std::optional<uid_t> ownerOf(int procfd, int32_t pid, int32_t ppid, std::string_view comm,
                                 bool reopened, ScanState* state);

    Options options_;
    procfs::KeptDirectory root_;
    KernelFile uptime_;
    std::mutex scanStateLock_;
    ScanState scanState_;
    std::shared_ptr<procfs::ProcessNameCache> names_;
    std::mutex userNamesLock_;
    std::unordered_map<uid_t, std::string> userNames_;
};

}  // namespace ostrel
