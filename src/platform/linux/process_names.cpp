#include "platform/linux/process_names.h"

#include <algorithm>

#include "platform/linux/proc_files.h"
#include "platform/linux/proc_text.h"

namespace ostrel::procfs {

std::string ProcessNameCache::nameFor(int procfd, int32_t pid, uint64_t startTicks,
                                      std::string_view comm) {
    {
        std::lock_guard guard(lock_);
        const auto known = names_.find(pid);
        if (known != names_.end() && known->second.startTicks == startTicks) {
            return known->second.name;
        }
    }
    std::string name;
    if (comm.size() == kKernelNameLength) {
        char buffer[4096];
        const auto cmdline = readFileAt(procfd, PidPath(pid, "cmdline").c_str(), buffer);
        name = fullProcessName(comm, cmdline ? *cmdline : std::string_view());
    } else {
        name = comm;
    }
    std::lock_guard guard(lock_);
    names_[pid] = Entry{startTicks, name};
    return name;
}

std::optional<std::string> ProcessNameCache::currentName(int procfd, int32_t pid) {
    {
        std::lock_guard guard(lock_);
        const auto known = names_.find(pid);
        if (known != names_.end()) return known->second.name;
    }
    char buffer[1024];
    const auto text = readFileAt(procfd, PidPath(pid, "stat").c_str(), buffer);
    if (!text) return std::nullopt;
    const auto stat = parseProcStat(*text);
    if (!stat) return std::nullopt;
    return nameFor(procfd, pid, stat->startTime, stat->comm);
}

void ProcessNameCache::retainOnly(const std::vector<int32_t>& pids) {
    std::lock_guard guard(lock_);
    std::erase_if(names_, [&](const auto& entry) {
        return !std::binary_search(pids.begin(), pids.end(), entry.first);
    });
}

}  // namespace ostrel::procfs
