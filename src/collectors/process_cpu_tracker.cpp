#include "collectors/process_cpu_tracker.h"

#include <algorithm>

#include "collectors/rate.h"

namespace ostrel {

namespace {

double percentOf(Duration cpu, Duration wall) {
    return std::chrono::duration<double>(cpu).count() /
           std::chrono::duration<double>(wall).count() * 100.0;
}

bool hasCounters(const ProcessReading& reading) {
    return reading.cpuTime && reading.startTime;
}

}  // namespace

const ProcessCpuTracker::Baseline* ProcessCpuTracker::baselineOf(int32_t pid) const {
    const auto found = std::lower_bound(
        baselines_.begin(), baselines_.end(), pid,
        [](const Baseline& baseline, int32_t wanted) { return baseline.pid < wanted; });
    return found != baselines_.end() && found->pid == pid ? &*found : nullptr;
}

std::vector<std::optional<double>> ProcessCpuTracker::lastFigures(const ProcessTable& table) const {
    std::vector<std::optional<double>> result;
    result.reserve(table.processes.size());
    for (const ProcessReading& reading : table.processes) {
        std::optional<double> figure = reading.cpuPercent;
        if (!figure && hasCounters(reading)) {
            const Baseline* known = baselineOf(reading.pid);
            if (known && known->startTime == *reading.startTime) figure = known->lastPercent;
        }
        result.push_back(figure);
    }
    return result;
}

std::vector<std::optional<double>> ProcessCpuTracker::percentages(const ProcessTable& table) {
    std::lock_guard guard(lock_);
    if (scanTime_ && table.scanTime - *scanTime_ < kMinimumShareWindow) return lastFigures(table);

    const std::optional<Duration> windowStart = scanTime_;
    const Duration window = windowStart ? table.scanTime - *windowStart : Duration::zero();
    std::vector<std::optional<double>> result;
    result.reserve(table.processes.size());
    std::vector<Baseline> next;
    next.reserve(table.processes.size());
    for (const ProcessReading& reading : table.processes) {
        if (reading.cpuPercent || !hasCounters(reading)) {
            result.push_back(reading.cpuPercent);
            continue;
        }
        const Duration cpuTime = *reading.cpuTime;
        const Duration startTime = *reading.startTime;
        std::optional<Duration> used;
        if (windowStart) {
            const Baseline* previous = baselineOf(reading.pid);
            if (previous && previous->startTime == startTime && cpuTime >= previous->cpuTime) {
                used = cpuTime - previous->cpuTime;
            } else if (startTime >= *windowStart) {
                // New since the last scan (a reused pid too): all its time falls in the window.
                // Start and scan times are both in whole ticks, so one that started in the
                // tick of the last scan, unseen by it, counts as new as well.
                used = cpuTime;
            }
            // Otherwise it ran before the window without being seen (it could not be read
            // then): there is nothing to measure from until the next scan.
        }
        const std::optional<double> percent =
            used ? std::optional(percentOf(*used, window)) : std::nullopt;
        next.push_back({reading.pid, startTime, cpuTime, percent});
        result.push_back(percent);
    }
    // Tables come in pid order; a source that lists otherwise is put in order here.
    const auto byPid = [](const Baseline& a, const Baseline& b) { return a.pid < b.pid; };
    if (!std::is_sorted(next.begin(), next.end(), byPid)) {
        std::stable_sort(next.begin(), next.end(), byPid);
    }
    baselines_ = std::move(next);
    scanTime_ = table.scanTime;
    return result;
}

}  // namespace ostrel
