#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "collectors/source_health.h"
#include "platform/dispatcher.h"
#include "platform/process_source.h"

namespace ostrel {

// The pids of the `count` largest processes by resident size, largest first; ties keep the
// list's order.
std::vector<int32_t> largestByResidentSize(const std::vector<ProcessReading>& readings,
                                           size_t count);

// Refined memory figures of the largest processes, read by a timer on a serial queue of its
// own, off the sampling path. The queue's tasks and the timer hold the refresher weakly, so they
// end without a word once its owner is gone.
class ProcessMemoryRefresher : public std::enable_shared_from_this<ProcessMemoryRefresher> {
  public:
    static constexpr double kDefaultInterval = 2.0;
    // How many of the largest processes get a refined figure.
    static constexpr size_t kProcessCount = 20;

    // To be started only with `sources.memory` set. `dispatcher` and `queue` must outlive it.
    ProcessMemoryRefresher(ProcessSources sources, Dispatcher& dispatcher, SerialQueue& queue);

    // Start the timer, or restart it with a period of `seconds` (at least 1), on the queue.
    void start();
    void setInterval(int seconds);
    // Cancels the timer for good; from the owner's destructor.
    void stop();

    // The figures of the last refinement by pid; empty after a failed one.
    std::unordered_map<int32_t, double> figures();
    // The pids to refine next, largest first, from the last sample's list.
    void setCandidates(std::vector<int32_t> pids);

  private:
    void restartTimer();
    void refresh();

    ProcessSources sources_;
    Dispatcher& dispatcher_;
    SerialQueue& queue_;
    SourceHealth health_{"Process memory refinement"};

    std::mutex figuresLock_;
    std::unordered_map<int32_t, double> figures_;
    std::mutex candidatesLock_;
    std::vector<int32_t> candidates_;
    std::mutex refreshingLock_;
    bool refreshing_ = false;

    // Touched on the queue, and by stop() from the owner's destructor.
    std::mutex timerLock_;
    std::unique_ptr<Timer> timer_;
    double interval_ = kDefaultInterval;
    bool stopped_ = false;
};

}  // namespace ostrel
