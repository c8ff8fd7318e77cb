#include "collectors/process_cpu_tracker.h"

namespace ostrel {

namespace {

double percentOf(Duration cpu, Duration wall) {
    return std::chrono::duration<double>(cpu).count() /
           std::chrono::duration<double>(wall).count() * 100.0;
}

}  // namespace

std::vector<std::optional<double>> ProcessCpuTracker::percentages(const ProcessTable& table) {
    std::vector<std::optional<double>> result;
    result.reserve(table.processes.size());
    std::unordered_map<int32_t, Baseline> next;
    next.reserve(table.processes.size());

    std::lock_guard guard(lock_);
    for (const ProcessReading& reading : table.processes) {
        if (reading.cpuPercent) {
            result.push_back(reading.cpuPercent);
            continue;
        }
        if (!reading.cpuTime || !reading.startTime) {
            result.push_back(std::nullopt);
            continue;
        }
        const Duration cpuTime = *reading.cpuTime;
        const Duration startTime = *reading.startTime;
        Baseline updated{startTime, cpuTime, table.scanTime, std::nullopt};

        const auto previous = baselines_.find(reading.pid);
        const bool sameProcess = previous != baselines_.end() &&
                                 previous->second.startTime == startTime &&
                                 cpuTime >= previous->second.cpuTime;
        if (sameProcess) {
            const Baseline& old = previous->second;
            const Duration window = table.scanTime - old.scanTime;
            if (window >= kMinimumWindow) {
                updated.lastPercent = percentOf(cpuTime - old.cpuTime, window);
            } else {
                // Too short a window, or a scan older than the baseline (two scans that
                // overlapped): keep the baseline and its figure.
                updated = old;
            }
        }
        if (!updated.lastPercent) {
            // First sight, a reused pid, or counters that went backwards: the lifetime average
            // is the only figure the counters support.
            const Duration age = table.scanTime - startTime;
            updated.lastPercent = age > Duration::zero() ? percentOf(cpuTime, age) : 0.0;
        }
        result.push_back(updated.lastPercent);
        next.emplace(reading.pid, updated);
    }
    baselines_ = std::move(next);
    return result;
}

}  // namespace ostrel
