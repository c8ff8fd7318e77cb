#include "platform/linux/processes.h"

#include <pwd.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <vector>

#include "platform/linux/proc_files.h"
#include "platform/linux/proc_text.h"

namespace ostrel {

namespace {

std::optional<std::string> systemUserName(uid_t uid) {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(4096);
    if (getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || !found) {
        return std::nullopt;
    }
    return std::string(found->pw_name);
}

Duration fromTicks(uint64_t ticks, long ticksPerSecond) {
    return std::chrono::duration_cast<Duration>(
        std::chrono::duration<double>(static_cast<double>(ticks) / ticksPerSecond));
}

// Since boot, on the same origin as a process's start time.
Duration scanTimeOf(int procfd) {
    char buffer[128];
    if (const auto text = procfs::readFileAt(procfd, "uptime", buffer)) {
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
    : options_(std::move(options)), names_(std::move(names)) {
    if (options_.ticksPerSecond <= 0) options_.ticksPerSecond = sysconf(_SC_CLK_TCK);
    if (options_.pageSize <= 0) options_.pageSize = sysconf(_SC_PAGESIZE);
    if (!options_.userName) options_.userName = systemUserName;
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

tl::expected<ProcessTable, ReadError> LinuxProcessSource::listProcesses() {
    auto proc = procfs::openDirectory(options_.procRoot.c_str());
    if (!proc) return tl::unexpected(proc.error());
    const int procfd = proc->get();
    auto pids = procfs::numericEntries(procfd, ".");
    if (!pids) return tl::unexpected(pids.error());

    ProcessTable table;
    table.scanTime = scanTimeOf(procfd);
    table.processes.reserve(pids->size());
    char buffer[1024];
    for (const int32_t pid : *pids) {
        // A process that exits or hides itself from us while we read is simply not listed.
        const auto text = procfs::readFileAt(procfd, procfs::PidPath(pid, "stat").c_str(), buffer);
        if (!text) continue;
        const auto stat = procfs::parseProcStat(*text);
        if (!stat || stat->pid != pid) continue;
        struct stat owner {};
        if (fstatat(procfd, procfs::PidPath(pid, {}).c_str(), &owner, 0) != 0) continue;

        table.processes.push_back(ProcessReading{
            .pid = pid,
            .ppid = stat->ppid,
            .name = names_->nameFor(procfd, pid, stat->startTime, stat->comm),
            .user = userNameOf(owner.st_uid),
            .residentBytes = stat->rssPages * static_cast<uint64_t>(options_.pageSize),
            .cpuTime = fromTicks(stat->utime + stat->stime, options_.ticksPerSecond),
            .startTime = fromTicks(stat->startTime, options_.ticksPerSecond),
        });
    }
    names_->retainOnly(*pids);
    return table;
}

LinuxProcessMemorySource::LinuxProcessMemorySource(std::string procRoot)
    : procRoot_(std::move(procRoot)) {}

tl::expected<std::unordered_map<int32_t, double>, ReadError>
LinuxProcessMemorySource::refinedMemoryMB(const std::vector<int32_t>& candidates) {
    auto proc = procfs::openDirectory(procRoot_.c_str());
    if (!proc) return tl::unexpected(proc.error());
    std::unordered_map<int32_t, double> memory;
    std::optional<ReadError> firstFailure;
    char buffer[4096];
    for (const int32_t pid : candidates) {
        const auto text =
            procfs::readFileAt(proc->get(), procfs::PidPath(pid, "smaps_rollup").c_str(), buffer);
        const auto kib = text ? procfs::parsePssKiB(*text) : std::nullopt;
        if (kib) {
            memory[pid] = static_cast<double>(*kib) / 1024.0;
        } else if (!firstFailure) {
            firstFailure = text ? ReadError::parse : text.error();
        }
    }
    // Not one figure: the kernel lacks the file, or none of these processes is ours to read.
    if (memory.empty() && firstFailure) return tl::unexpected(*firstFailure);
    return memory;
}

}  // namespace ostrel
