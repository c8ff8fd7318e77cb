#include "platform/linux/process_memory.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>

#include "platform/linux/proc_files.h"
#include "platform/linux/proc_text.h"

namespace ostrel {

LinuxProcessMemorySource::LinuxProcessMemorySource(const Clock& clock, std::string procRoot)
    : clock_(clock),
      procRoot_(std::move(procRoot)),
      pageSize_(static_cast<double>(::sysconf(_SC_PAGESIZE))) {}

tl::expected<std::unordered_map<int32_t, double>, ReadError>
LinuxProcessMemorySource::refinedMemoryMB(const std::vector<MemoryCandidate>& candidates) {
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
    // The listing has just read each candidate's start time and resident size: they are not
    // read again here.
    for (const MemoryCandidate& candidate : candidates) {
        const int32_t pid = candidate.pid;
        const auto known = previous.find(pid);
        const bool sameProcess =
            known != previous.end() && known->second.startTime == candidate.startTime;
        const auto resident = static_cast<double>(candidate.residentBytes);
        const bool current =
            sameProcess && now - known->second.readAt < kMaxAge &&
            std::abs(resident - static_cast<double>(known->second.residentBytes)) <=
                kResidentChange * static_cast<double>(known->second.residentBytes);
        const double cost = resident / pageSize_;
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
            figures.emplace(pid, Figure{candidate.startTime, candidate.residentBytes,
                                        static_cast<double>(*kib) / 1024.0, now});
        } else if (!text && text.error() == ReadError::notFound &&
                   ::faccessat(proc->get(), procfs::PidPath(pid, {}).c_str(), F_OK, 0) != 0) {
            continue;  // ended since the listing
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
