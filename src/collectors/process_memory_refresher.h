#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

#include "collectors/source_health.h"
#include "platform/dispatcher.h"
#include "platform/process_source.h"

namespace ostrel {

// The `count` largest processes by resident size, largest first; ties keep the list's order.
// Processes without resident memory (kernel threads have no memory map) are left out: there
// is nothing to refine.
std::vector<MemoryCandidate> largestByResidentSize(const std::vector<ProcessReading>& readings,
                                                   size_t count);

// Refined memory figures of the largest processes, read on a serial queue of its own, off the
// sampling path. A sample that lists the processes hands over its largest ones, which starts a
// refinement when the last one is at least an interval old and the figures could change (other
// processes, or one the source would read again); no sample, no refinement, so with processes
// not collected nothing runs at all. Queued tasks hold the refresher weakly, so they
// end without a word once its owner is gone.
class ProcessMemoryRefresher : public std::enable_shared_from_this<ProcessMemoryRefresher> {
  public:
    static constexpr double kDefaultInterval = 2.0;
    // How many of the largest processes get a refined figure.
    static constexpr size_t kProcessCount = 20;

    // Only with `sources.memory` set. `dispatcher` and `queue` must outlive it.
    ProcessMemoryRefresher(ProcessSources sources, Dispatcher& dispatcher, SerialQueue& queue);

    // The least time between two refinements, in seconds (at least 1).
    void setInterval(int seconds);

    using Figures = std::unordered_map<int32_t, double>;
    // The figures of the last refinement by pid, shared rather than copied at every sample;
    // empty after a failed one.
    std::shared_ptr<const Figures> figures();
    // The processes to refine, largest first, from a sample's list; starts a refinement when
    // due.
    void setCandidates(std::vector<MemoryCandidate> candidates);

  private:
    void refresh();

    ProcessSources sources_;
    Dispatcher& dispatcher_;
    SerialQueue& queue_;
    SourceHealth health_{"Process memory refinement"};

    std::mutex figuresLock_;
    std::shared_ptr<const Figures> figures_ = std::make_shared<const Figures>();
    // Guards the candidates and the schedule.
    std::mutex candidatesLock_;
    std::vector<MemoryCandidate> candidates_;
    Duration interval_;
    std::optional<Duration> lastStart_;  // monotonic
    // Those of the last refinement, sorted.
    std::vector<std::pair<int32_t, std::optional<Duration>>> refinedProcesses_;
    bool refreshing_ = false;
};

}  // namespace ostrel
