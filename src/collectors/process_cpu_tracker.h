#pragma once

#include <mutex>
#include <optional>
#include <vector>

#include "platform/process_source.h"

namespace ostrel {

// Turns cumulative CPU time into a percentage per process (100 = one full core), every process
// over the same window: the time since the previous scan. A process that started within the
// window is measured on all the time it used since its start, over that same window, as pidstat
// does; dividing by its age instead would make a process a few milliseconds old read 100 %.
// So one scan's figures add up to at most 100 times the processor count. The first scan only
// takes the baseline. A scan less than kMinimumShareWindow after the baseline (or older than
// it: two scans that overlapped) leaves the baseline alone and gives each process the figure
// of its last real window. Safe to call from several threads.
class ProcessCpuTracker {
  public:
    // One percentage per reading, in the table's order. A reading that carries its own
    // percentage keeps it; one with neither counter nor percentage gets nothing.
    std::vector<std::optional<double>> percentages(const ProcessTable& table);

  private:
    struct Baseline {
        int32_t pid;
        Duration startTime;
        Duration cpuTime;
        std::optional<double> lastPercent;
    };

    std::vector<std::optional<double>> lastFigures(const ProcessTable& table) const;
    const Baseline* baselineOf(int32_t pid) const;

    std::mutex lock_;
    std::optional<Duration> scanTime_;
    // By pid: a sorted list rather than a map, as it is made anew at every scan.
    std::vector<Baseline> baselines_;
};

}  // namespace ostrel
