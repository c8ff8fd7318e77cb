#include "collectors/memory_collector.h"

#include <string>

#include "logging/logger.h"
#include "records/formatters.h"

namespace ostrel {
namespace {

constexpr auto category = Logger::Category::collection;

double mebibytes(uint64_t bytes) {
    return static_cast<double>(bytes) * (1.0 / 1024) * (1.0 / 1024);
}

std::optional<double> roundedMebibytes(const std::optional<uint64_t>& bytes) {
    if (!bytes) return std::nullopt;
    return roundedTo(mebibytes(*bytes), 1);
}

void collectTotalMemory(MemoryMetrics& metrics, const MemorySnapshot& snapshot) {
    if (!snapshot.totalBytes) {
        Logger::debug("Failed to get hw.memsize", category);
        return;
    }
    metrics.totalMB = mebibytes(*snapshot.totalBytes);
}

void collectMemoryPressure(MemoryMetrics& metrics, const MemorySnapshot& snapshot) {
    if (!snapshot.pressureLevel) {
        Logger::debug("Failed to get memory pressure level", category);
        return;
    }
    const int64_t level = *snapshot.pressureLevel;
    metrics.pressureLevel = level;
    metrics.pressureString = level == 4 ? "critical" : level == 2 ? "warning" : "normal";
}

void collectVMStats(MemoryMetrics& metrics, const MemorySnapshot& snapshot) {
    if (!snapshot.vmStats) {
        Logger::warning(
            "host_statistics64 failed: " + std::string(describe(snapshot.vmStats.error())),
            category);
        return;
    }
    const VmStats& vm = *snapshot.vmStats;
    metrics.freeMB = roundedMebibytes(vm.freeBytes);
    metrics.activeMB = roundedMebibytes(vm.activeBytes);
    metrics.inactiveMB = roundedMebibytes(vm.inactiveBytes);
    metrics.wiredMB = roundedMebibytes(vm.wiredBytes);
    metrics.compressedMB = roundedMebibytes(vm.compressedBytes);
    metrics.pageIns = vm.pageIns;
    metrics.pageOuts = vm.pageOuts;
    metrics.swapIns = vm.swapIns;
    metrics.swapOuts = vm.swapOuts;
}

void collectSwapUsage(MemoryMetrics& metrics, const MemorySnapshot& snapshot) {
    if (!snapshot.swap) {
        Logger::debug("Failed to get swap usage", category);
        return;
    }
    metrics.swapTotalMB = roundedTo(mebibytes(snapshot.swap->totalBytes), 1);
    metrics.swapUsedMB = roundedTo(mebibytes(snapshot.swap->usedBytes), 1);
    metrics.swapFreeMB = roundedTo(mebibytes(snapshot.swap->availableBytes), 1);
}

}  // namespace

MemoryCollector::MemoryCollector(MemorySource& source) : source_(source) {}

MemoryMetrics MemoryCollector::collect() {
    const MemorySnapshot snapshot = source_.read();
    MemoryMetrics metrics;
    collectTotalMemory(metrics, snapshot);
    collectMemoryPressure(metrics, snapshot);
    collectVMStats(metrics, snapshot);
    collectSwapUsage(metrics, snapshot);
    return metrics;
}

}  // namespace ostrel
