#pragma once

#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/process_source.h"

namespace ostrel {

// Turns cumulative CPU time into a percentage per process (100 = one full core) over the time
// since that process's previous scan. A process seen for the first time, or a pid that now
// belongs to another process, gets its lifetime average. Safe to call from several threads.
class ProcessCpuTracker {
  public:
    // Below this, tick-granular counters give noise rather than a rate; the previous figure
    // stands and the baseline waits for a longer window.
    static constexpr Duration kMinimumWindow = std::chrono::milliseconds(50);

    // One percentage per reading, in the table's order. A reading that carries its own
    // percentage keeps it; one with neither counter nor percentage gets nothing.
    std::vector<std::optional<double>> percentages(const ProcessTable& table);

  private:
    struct Baseline {
        Duration startTime;
        Duration cpuTime;
        Duration scanTime;
        std::optional<double> lastPercent;
    };

    std::mutex lock_;
    std::unordered_map<int32_t, Baseline> baselines_;
};

}  // namespace ostrel
