#include "platform/linux/process_memory.h"

#include <algorithm>
#include <cmath>

#include "platform/linux/proc_files.h"
#include "platform/linux/proc_text.h"

namespace ostrel {

LinuxProcessMemorySource::LinuxProcessMemorySource(const Clock& clock, std::string procRoot)
    : clock_(clock), procRoot_(std::move(procRoot)) {}

tl::expected<std::unordered_map<int32_t, double>, ReadError>
LinuxProcessMemorySource::refinedMemoryMB(const std::vector<int32_t>& candidates) {
    auto proc = procfs::openDirectory(procRoot_.c_str());
    if (!proc) return tl::unexpected(proc.error());
    const Duration now = clock_.monotonic();
    std::unordered_map<int32_t, Figure> previous;
    double budget;
    {
        std::lock_guard guard(figuresLock_);
        previous = figures_;
        const double elapsed =
            budgetAt_ ? std::chrono::duration<double>(now - *budgetAt_).count() : 0;
        budget = std::min(kMaxBudgetPages, budgetPages_ + elapsed * kPagesPerSecond);
    }

    std::unordered_map<int32_t, Figure> figures;
    std::optional<ReadError> firstFailure;
    char buffer[4096];
    for (const int32_t pid : candidates) {
        const auto statText =
            procfs::readFileAt(proc->get(), procfs::PidPath(pid, "stat").c_str(), buffer);
        const auto stat = statText ? procfs::parseProcStat(*statText) : std::nullopt;
        if (!stat) continue;  // gone
        const auto known = previous.find(pid);
        const bool sameProcess =
            known != previous.end() && known->second.startTicks == stat->startTime;
        const bool current = sameProcess && now - known->second.readAt < kMaxAge &&
                             std::abs(static_cast<double>(stat->rssPages) -
                                      static_cast<double>(known->second.residentPages)) <=
                                 kResidentChange * static_cast<double>(known->second.residentPages);
        const auto cost = static_cast<double>(stat->rssPages);
        // A process larger than the whole budget is read when the budget is full, and the
        // debt is paid off before the next read.
        if (current || (cost > budget && budget < kMaxBudgetPages)) {
            if (sameProcess) figures.emplace(pid, known->second);
            continue;
        }
        budget -= cost;
        const auto text =
            procfs::readFileAt(proc->get(), procfs::PidPath(pid, "smaps_rollup").c_str(), buffer);
        const auto kib = text ? procfs::parsePssKiB(*text) : std::nullopt;
        if (kib) {
            figures.emplace(pid, Figure{stat->startTime, stat->rssPages,
                                        static_cast<double>(*kib) / 1024.0, now});
        } else if (!firstFailure) {
            firstFailure = text ? ReadError::parse : text.error();
        }
    }
    std::unordered_map<int32_t, double> memory;
    for (const auto& [pid, figure] : figures)
        memory.emplace(pid, figure.megabytes);
    {
        std::lock_guard guard(figuresLock_);
        figures_ = std::move(figures);
        budgetPages_ = budget;
        budgetAt_ = now;
    }
    // Not one figure: the kernel lacks the file, or none of these processes is ours to read.
    if (memory.empty() && firstFailure) return tl::unexpected(*firstFailure);
    return memory;
}

}  // namespace ostrel
