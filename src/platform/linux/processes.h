#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

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
    std::optional<uid_t> ownerOf(int procfd, int32_t pid, std::string_view comm, bool reopened,
                                 ScanState* state);

    Options options_;
    procfs::FileDescriptor root_;
    std::mutex scanStateLock_;
    ScanState scanState_;
    std::shared_ptr<procfs::ProcessNameCache> names_;
    std::mutex userNamesLock_;
    std::unordered_map<uid_t, std::string> userNames_;
};

// Proportional set sizes from /proc/<pid>/smaps_rollup: shared pages divided among their users,
// closer to what a process costs than its resident size. Each read walks the process's page
// tables (milliseconds for a large process), so a figure is read again only when the
// process's resident size moved by more than kResidentChange since, or after kMaxAge, and
// only while the walking budget lasts: it grows by kPagesPerSecond of resident pages and holds
// at most kMaxBudgetPages. A process the budget cannot cover keeps its last figure, or none.
class LinuxProcessMemorySource final : public ProcessMemorySource {
  public:
    static constexpr double kResidentChange = 0.05;
    static constexpr Duration kMaxAge = std::chrono::seconds(60);
    // 32 MiB of 4 KiB pages a second: about 0.3 ms of page walking a second on this class of
    // machine, a fifth of the agent's whole budget.
    static constexpr double kPagesPerSecond = 8192;
    static constexpr double kMaxBudgetPages = 262144;  // 1 GiB resident in one go

    explicit LinuxProcessMemorySource(const Clock& clock, std::string procRoot = "/proc");
    tl::expected<std::unordered_map<int32_t, double>, ReadError> refinedMemoryMB(
        const std::vector<int32_t>& candidates) override;

  private:
    struct Figure {
        uint64_t startTicks = 0;
        uint64_t residentPages = 0;
        double megabytes = 0;
        Duration readAt{};
    };
    const Clock& clock_;
    std::string procRoot_;
    // Used from the refinement queue only; the lock guards against a second caller.
    std::mutex figuresLock_;
    std::unordered_map<int32_t, Figure> figures_;
    double budgetPages_ = kMaxBudgetPages;
    std::optional<Duration> budgetAt_;
};

}  // namespace ostrel
