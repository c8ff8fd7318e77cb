#include "platform/linux/processes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "platform/linux/proc_files.h"
#include "platform/linux/proc_text.h"
#include "platform/linux/system_info.h"

namespace ostrel {

namespace {

Duration fromTicks(uint64_t ticks, long ticksPerSecond) {
    return std::chrono::duration_cast<Duration>(
        std::chrono::duration<double>(static_cast<double>(ticks) / ticksPerSecond));
}

// Since boot, on the same origin as a process's start time.
Duration scanTimeOf(KernelFile& uptime) {
    char buffer[128];
    if (const auto text = uptime.read(buffer)) {
        if (const auto seconds = procfs::parseUptimeSeconds(*text)) {
            return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(*seconds));
        }
    }
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

}  // namespace

LinuxProcessSource::LinuxProcessSource(Options options,
                                       std::shared_ptr<procfs::ProcessNameCache> names)
    : options_(std::move(options)),
      root_(options_.procRoot),
      uptime_(options_.procRoot + "/uptime"),
      scanState_(procfs::handleBudget()),
      names_(std::move(names)) {
    if (options_.ticksPerSecond <= 0) options_.ticksPerSecond = sysconf(_SC_CLK_TCK);
    if (options_.pageSize <= 0) options_.pageSize = sysconf(_SC_PAGESIZE);
    if (!options_.userName) options_.userName = accountName;
    if (!names_) names_ = std::make_shared<procfs::ProcessNameCache>();
}

std::string LinuxProcessSource::userNameOf(uid_t uid) {
    {
        std::lock_guard guard(userNamesLock_);
        if (const auto known = userNames_.find(uid); known != userNames_.end()) {
            return known->second;
        }
    }
    // As ps does, a user with no name shows as its number.
    std::string name = options_.userName(uid).value_or(std::to_string(uid));
    std::lock_guard guard(userNamesLock_);
    userNames_.emplace(uid, name);
    return name;
}

std::optional<uid_t> LinuxProcessSource::ownerOf(int procfd, int32_t pid, int32_t ppid,
                                                 std::string_view comm, bool reopened,
                                                 ScanState* state) {
    Owner* known = nullptr;
    if (state) {
        const auto found = state->owners.find(pid);
        if (found != state->owners.end()) known = &found->second;
        // A program can change its user without exec, rarely and early: a periodic look
        // catches it, staggered so that each scan looks at a few processes only. A kernel
        // thread (a child of kthreadd, pid 2) runs no program and never changes its user.
        const bool kernelThread = pid == kKernelThreadParent || ppid == kKernelThreadParent;
        const bool due =
            !kernelThread && (state->scans + static_cast<uint64_t>(pid)) % kOwnerRefresh == 0;
        if (known && !reopened && !due && known->comm == comm) return known->uid;
    }
    struct stat owner {};
    if (fstatat(procfd, procfs::PidPath(pid, {}).c_str(), &owner, 0) != 0) return std::nullopt;
    if (state) state->owners[pid] = Owner{owner.st_uid, std::string(comm)};
    return owner.st_uid;
}

tl::expected<ProcessTable, ReadError> LinuxProcessSource::listProcesses() {
    const auto root = root_.get();
    if (!root) return tl::unexpected(root.error());
    const int procfd = *root;
    auto pids = procfs::numericEntries(procfd, ".");
    if (!pids) return tl::unexpected(pids.error());
    std::sort(pids->begin(), pids->end());

    std::unique_lock ownState(scanStateLock_, std::try_to_lock);
    ScanState* state = ownState.owns_lock() ? &scanState_ : nullptr;
    if (state) ++state->scans;

    ProcessTable table;
    table.scanTime = scanTimeOf(uptime_);
    table.processes.reserve(pids->size());
    char buffer[1024];
    for (const int32_t pid : *pids) {
        // A process that exits or hides itself from us while we read is simply not listed.
        bool reopened = true;
        const auto text =
            state ? state->stat.read(procfd, pid, buffer, reopened)
                  : procfs::readFileAt(procfd, procfs::PidPath(pid, "stat").c_str(), buffer);
        if (!text) continue;
        const auto stat = procfs::parseProcStat(*text);
        if (!stat || stat->pid != pid) continue;
        const auto uid = ownerOf(procfd, pid, stat->ppid, stat->comm, reopened, state);
        if (!uid) continue;

        table.processes.push_back(ProcessReading{
            .pid = pid,
            .ppid = stat->ppid,
            .name = names_->nameFor(procfd, pid, stat->startTime, stat->comm),
            .user = userNameOf(*uid),
            .residentBytes = stat->rssPages * static_cast<uint64_t>(options_.pageSize),
            .cpuTime = fromTicks(stat->utime + stat->stime, options_.ticksPerSecond),
            .startTime = fromTicks(stat->startTime, options_.ticksPerSecond),
        });
    }
    if (state) {
        state->stat.retainOnly(*pids);
        std::erase_if(state->owners, [&](const auto& entry) {
            return !std::binary_search(pids->begin(), pids->end(), entry.first);
        });
    }
    names_->retainOnly(*pids);
    return table;
}

}  // namespace ostrel
