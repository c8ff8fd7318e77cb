#include "collectors/cpu_collector.h"

#include <cmath>
#include <string>

#include "collectors/rate.h"
#include "logging/logger.h"
#include "records/formatters.h"

namespace ostrel {
namespace {

constexpr auto category = Logger::Category::collection;

struct Shares {
    double user, system, idle;
};

// One decimal place of a share: delta / total * 1000, rounded, / 10.
double tenthsOfPercent(uint64_t delta, double total) {
    return std::round(static_cast<double>(delta) / total * 1000.0) / 10.0;
}

struct Comparison {
    std::optional<Shares> shares;
    bool wentBack = false;
    bool tooShort = false;
};

// Busy shares between two tick samples; none when no tick passed or a counter went back.
// The kernel documents that idle and iowait ticks can decrease (proc(5)), so a counter below
// its baseline is a reading to skip, not an impossible state.
Comparison compare(const CpuTicks& before, const CpuTicks& now) {
    if (now.user < before.user || now.system < before.system || now.idle < before.idle ||
        now.nice < before.nice) {
        return {.wentBack = true};
    }
    const uint64_t user = now.user - before.user;
    const uint64_t system = now.system - before.system;
    const uint64_t idle = now.idle - before.idle;
    const uint64_t nice = now.nice - before.nice;
    const double total = static_cast<double>(system) + static_cast<double>(user) +
                         static_cast<double>(idle) + static_cast<double>(nice);
    if (!(total > 0)) return {};
    return {Shares{tenthsOfPercent(user, total), tenthsOfPercent(system, total),
                   tenthsOfPercent(idle, total)}};
}

}  // namespace

CPUCollector::CPUCollector(CpuSource& source, const Clock& clock)
    : source_(source), clock_(clock) {}

void CPUCollector::seed() {
    auto ticks = source_.readTicks();
    if (!ticks) {
        Logger::warning(
            "Failed to seed CPU ticks: kern result " + std::string(describe(ticks.error())),
            category);
        return;
    }
    const Duration now = clock_.monotonic();
    std::lock_guard lock(sampleLock_);
    lastTickSample_ = Baseline{*ticks, now};
}

int64_t CPUCollector::processorCount() {
    return source_.processorCount();
}

void CPUCollector::collectLoadAverages(CPUMetrics& metrics) {
    const auto loads = source_.loadAverages();
    if (!loads) {
        Logger::debug("getloadavg failed", category);
        return;
    }
    metrics.loadAverage1m = roundedTo(loads->oneMinute, 2);
    metrics.loadAverage5m = roundedTo(loads->fiveMinutes, 2);
    metrics.loadAverage15m = roundedTo(loads->fifteenMinutes, 2);
    // Without a processor count the share is undefined; it keeps its initial 0.
    if (metrics.cpuCount > 0) {
        metrics.loadPercent =
            roundedTo(loads->oneMinute / static_cast<double>(metrics.cpuCount) * 100.0, 1);
    }
}

void CPUCollector::collectUsagePercentages(CPUMetrics& metrics, bool updateBaseline) {
    auto ticks = source_.readTicks();
    if (!ticks) {
        Logger::warning("host_statistics failed: " + std::string(describe(ticks.error())),
                        category);
        return;
    }
    const Duration now = clock_.monotonic();
    Comparison result;
    {
        // Compare and move as one step, so overlapping samples never share half a baseline.
        std::lock_guard lock(sampleLock_);
        if (lastTickSample_) {
            result.tooShort = now - lastTickSample_->takenAt < kMinimumShareWindow;
            if (!result.tooShort) result = compare(lastTickSample_->ticks, *ticks);
        }
        if (updateBaseline && !result.tooShort) lastTickSample_ = Baseline{*ticks, now};
    }
    if (result.wentBack) {
        Logger::debug("CPU tick counter went backwards, skipping sample", category);
    }
    if (!result.shares) return;
    metrics.userPercent = result.shares->user;
    metrics.systemPercent = result.shares->system;
    metrics.idlePercent = result.shares->idle;
}

void CPUCollector::collectThermalState(CPUMetrics& metrics) {
    static constexpr const char* names[] = {"nominal", "fair", "serious", "critical"};
    const auto state = source_.thermalState();
    if (!state || *state < 0 || *state > 3) {
        metrics.thermalState = "unknown";
        metrics.thermalLevel = -1;
        metrics.thermalThrottle = false;
        return;
    }
    metrics.thermalState = names[*state];
    metrics.thermalLevel = *state;
    metrics.thermalThrottle = *state > 0;
}

}  // namespace ostrel
