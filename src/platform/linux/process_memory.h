#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "platform/process_source.h"

namespace ostrel {

// Proportional set sizes from /proc/<pid>/smaps_rollup: shared pages divided among their users,
// closer to what a process costs than its resident size. Each read walks the process's page
// tables (milliseconds for a large process), so a figure is read again only when the
// process's resident size moved by more than kResidentChange since, or after kMaxAge, and
// only while the walking budget lasts: it grows by kPagesPerSecond of resident pages and holds
// at most kMaxBudgetPages. A process the budget cannot cover keeps its last figure, or none. A
// process whose file cannot be read is tried again after kMaxAge, and counts as a failure
// meanwhile.
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
        const std::vector<MemoryCandidate>& candidates) override;
    bool needsRead(const std::vector<MemoryCandidate>& candidates) override;

  private:
    struct Figure {
        std::optional<Duration> startTime;
        uint64_t residentBytes = 0;
        double megabytes = 0;
        Duration readAt{};
        std::optional<ReadError> refusal;  // the file could not be read
    };
    enum class Step { keep, wait, read };
    // What to do with one candidate, `known` its last figure of the same process; a read is
    // charged to `budget`.
    static Step stepFor(const MemoryCandidate& candidate, const Figure* known, double pageSize,
                        double& budget, Duration now);
    double budgetAt(Duration now) const;
    // The figure kept for the candidate's process; none for a new process or a reused pid.
    static const Figure* lastFigureOf(const std::unordered_map<int32_t, Figure>& figures,
                                      const MemoryCandidate& candidate);

    const Clock& clock_;
    std::string procRoot_;
    const double pageSize_;
    // Used from the refinement queue only; the lock guards against a second caller.
    std::mutex figuresLock_;
    std::unordered_map<int32_t, Figure> figures_;
    double budgetPages_ = kMaxBudgetPages;
    std::optional<Duration> budgetAt_;
};

}  // namespace ostrel
