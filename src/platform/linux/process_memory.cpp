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

LinuxProcessMemorySource::Step LinuxProcessMemorySource::stepFor(const MemoryCandidate& candidate,
                                                                 const Figure* known,
                                                                 double pageSize, double& budget,
                                                                 Duration now) {
    const auto resident = static_cast<double>(candidate.residentBytes);
    const bool fresh = known && now - known->readAt < kMaxAge;
    const bool current = fresh && (known->refusal ||
                                   std::abs(resident - static_cast<double>(known->residentBytes)) <=
                                       kResidentChange * static_cast<double>(known->residentBytes));
    const double cost = resident / pageSize;
    // A process larger than the whole budget is read when the budget is full, and the debt is
    // paid off before the next read.
    if (current) return Step::keep;
    if (cost > budget && budget < kMaxBudgetPages) return Step::wait;
    budget -= cost;
    return Step::read;
}

double LinuxProcessMemorySource::budgetAt(Duration now) const {
    const double elapsed = budgetAt_ ? std::chrono::duration<double>(now - *budgetAt_).count() : 0;
    return std::min(kMaxBudgetPages, budgetPages_ + elapsed * kPagesPerSecond);
}

const LinuxProcessMemorySource::Figure* LinuxProcessMemorySource::lastFigureOf(
    const std::unordered_map<int32_t, Figure>& figures, const MemoryCandidate& candidate) {
    const auto found = figures.find(candidate.pid);
    // A reused pid is another process: its figure does not carry over.
    if (found == figures.end() || found->second.startTime != candidate.startTime) return nullptr;
    return &found->second;
}

bool LinuxProcessMemorySource::needsRead(const std::vector<MemoryCandidate>& candidates) {
    const Duration now = clock_.monotonic();
    std::lock_guard guard(figuresLock_);
    double budget = budgetAt(now);
    for (const MemoryCandidate& candidate : candidates) {
        if (stepFor(candidate, lastFigureOf(figures_, candidate), pageSize_, budget, now) ==
            Step::read) {
            return true;
        }
    }
    return false;
}

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
        budget = budgetAt(now);
    }

    std::unordered_map<int32_t, Figure> figures;
    std::optional<ReadError> firstFailure;
    char buffer[4096];
    // The listing has just read each candidate's start time and resident size: they are not
    // read again here.
    for (const MemoryCandidate& candidate : candidates) {
        const int32_t pid = candidate.pid;
        const Figure* known = lastFigureOf(previous, candidate);
        const Step step = stepFor(candidate, known, pageSize_, budget, now);
        if (step != Step::read) {
            if (known) figures.emplace(pid, *known);
            if (step == Step::keep && known->refusal && !firstFailure)
                firstFailure = known->refusal;
            continue;
        }
        const auto text =
            procfs::readFileAt(proc->get(), procfs::PidPath(pid, "smaps_rollup").c_str(), buffer);
        const auto kib = text ? procfs::parsePssKiB(*text) : std::nullopt;
        if (kib) {
            figures.emplace(pid, Figure{candidate.startTime, candidate.residentBytes,
                                        static_cast<double>(*kib) / 1024.0, now});
        } else if (!text && text.error() == ReadError::notFound &&
                   ::faccessat(proc->get(), procfs::PidPath(pid, {}).c_str(), F_OK, 0) != 0) {
            continue;  // ended since the listing
        } else {
            const ReadError refusal = text ? ReadError::parse : text.error();
            figures.emplace(pid, Figure{.startTime = candidate.startTime,
                                        .residentBytes = candidate.residentBytes,
                                        .readAt = now,
                                        .refusal = refusal});
            if (!firstFailure) firstFailure = refusal;
        }
    }
    std::unordered_map<int32_t, double> memory;
    for (const auto& [pid, figure] : figures) {
        if (!figure.refusal) memory.emplace(pid, figure.megabytes);
    }
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
