#include "collectors/process_collector.h"

#include <algorithm>

#include "collectors/process_cpu_tracker.h"
#include "collectors/process_name_utils.h"
#include "collectors/process_text.h"
#include "records/formatters.h"

namespace ostrel {

namespace {

// The tools a platform may run to list processes: when the program runs them itself they are
// its own doing, not the machine's load. A user's own `top` stays.
bool isOwnToolChild(const ProcessReading& reading, int32_t ownPid) {
    return reading.ppid == ownPid && (reading.name == "top" || reading.name == "ps");
}

double mebibytes(uint64_t bytes) {
    return static_cast<double>(bytes) / 1048576.0;
}

uint64_t checkedSum(uint64_t a, uint64_t b) {
    uint64_t sum = 0;
    // Byte counters that overflow 64 bits mean corrupt state, not a figure to report.
    if (__builtin_add_overflow(a, b, &sum)) std::abort();
    return sum;
}

// In and out together as a carry and a sum, so that the ranking of two 64-bit counters cannot
// wrap.
std::pair<bool, uint64_t> totalBytes(const ProcessNetworkInfo& info) {
    uint64_t sum = 0;
    const bool carry = __builtin_add_overflow(info.bytesIn, info.bytesOut, &sum);
    return {carry, sum};
}

// Two figures of the entries whose pid is in `pids`, summed.
template <class Entry, class Figure, class Add>
std::pair<Figure, Figure> sumForPids(const std::vector<Entry>& entries,
                                     const std::set<int64_t>& pids, Figure Entry::*first,
                                     Figure Entry::*second, Add add) {
    std::pair<Figure, Figure> sums{};
    for (const auto& entry : entries) {
        if (!pids.contains(entry.pid)) continue;
        sums.first = add(sums.first, entry.*first);
        sums.second = add(sums.second, entry.*second);
    }
    return sums;
}

size_t clampedLimit(int limit) {
    return limit > 0 ? static_cast<size_t>(limit) : 0;
}

}  // namespace

ProcessCollector::ProcessCollector(ProcessSources sources, Dispatcher& dispatcher)
    : sources_(std::move(sources)),
      cpuTracker_(std::make_unique<ProcessCpuTracker>()),
      clock_(dispatcher.clock()),
      memoryCollectionQueue_(dispatcher.makeSerialQueue(kMemoryQueueLabel)),
      memory_(std::make_shared<ProcessMemoryRefresher>(sources_, dispatcher,
                                                       *memoryCollectionQueue_)) {}

ProcessCollector::ProcessCollector(Dispatcher& dispatcher)
    : ProcessCollector(makePlatformProcessSources(dispatcher.clock()), dispatcher) {}

ProcessCollector::~ProcessCollector() = default;

void ProcessCollector::setMemoryUpdateInterval(int seconds) {
    if (sources_.memory) memory_->setInterval(seconds);
}

std::vector<ProcessEntry> ProcessCollector::collectProcessInfo() {
    return listEntries().value_or(std::vector<ProcessEntry>{});
}

std::optional<std::vector<ProcessEntry>> ProcessCollector::listEntries() {
    if (!sources_.processes) return std::nullopt;
    auto table = sources_.processes->listProcesses();
    processHealth_.note(table);
    if (!table) return std::nullopt;
    {
        std::vector<int32_t> pids;
        pids.reserve(table->processes.size());
        for (const ProcessReading& reading : table->processes)
            pids.push_back(reading.pid);
        std::sort(pids.begin(), pids.end());
        std::lock_guard guard(processInfoCacheLock_);
        lastListedPids_ = std::move(pids);
    }

    std::erase_if(table->processes, [this](const ProcessReading& reading) {
        return isOwnToolChild(reading, sources_.ownPid);
    });
    const auto cpu = cpuTracker_->percentages(*table);

    const auto refined = memory_->figures();

    std::vector<ProcessEntry> entries;
    entries.reserve(table->processes.size());
    for (size_t i = 0; i < table->processes.size(); ++i) {
        ProcessReading& reading = table->processes[i];
        cleanProcessName(reading.name);
        const auto cached = refined->find(reading.pid);
        entries.push_back({
            .pid = reading.pid,
            .ppid = reading.ppid,
            .name = std::move(reading.name),
            .cpuPercent = roundedTo(cpu[i].value_or(0.0), 1),
            .memoryMB = roundedTo(
                cached != refined->end() ? cached->second : mebibytes(reading.residentBytes), 1),
            .user = std::move(reading.user),
        });
    }

    // The refinement timer reads the largest processes of this list next time.
    if (sources_.memory) {
        memory_->setCandidates(largestByResidentSize(table->processes, kRefinedProcessCount));
    }
    return entries;
}

ProcessMetrics ProcessCollector::collect() {
    // A failed list reads as an empty one: the count 0 and empty top lists, present, so that a
    // sample still says the process figures were asked for. Kept for watched names, which
    // share it rather than copy it.
    const auto kept = std::make_shared<const std::vector<ProcessEntry>>(
        listEntries().value_or(std::vector<ProcessEntry>{}));
    {
        std::lock_guard guard(processInfoCacheLock_);
        lastCollectedProcessInfos_ = kept;
    }
    const std::vector<ProcessEntry>& entries = *kept;
    ProcessMetrics metrics;
    metrics.processCount = static_cast<int64_t>(entries.size());

    const auto top = [&](auto key, bool cpuFigure) {
        std::vector<const ProcessEntry*> order;
        order.reserve(entries.size());
        for (const auto& entry : entries)
            order.push_back(&entry);
        std::stable_sort(
            order.begin(), order.end(),
            [&](const ProcessEntry* a, const ProcessEntry* b) { return key(*a) > key(*b); });
        std::vector<ProcessMetricInfo> result;
        for (size_t i = 0; i < order.size() && i < kTopCount; ++i) {
            const ProcessEntry& entry = *order[i];
            ProcessMetricInfo info{
                .pid = entry.pid, .ppid = entry.ppid, .name = entry.name, .user = entry.user};
            // An entry carries only the figure it is ranked by.
            if (cpuFigure) {
                info.cpuPercent = entry.cpuPercent;
            } else {
                info.memoryMB = roundedTo(entry.memoryMB, 1);
            }
            result.push_back(std::move(info));
        }
        return result;
    };
    metrics.topCPU = top([](const ProcessEntry& e) { return e.cpuPercent; }, true);
    metrics.topMemory = top([](const ProcessEntry& e) { return e.memoryMB; }, false);
    return metrics;
}

std::vector<int32_t> ProcessCollector::listedPids() {
    {
        std::lock_guard guard(processInfoCacheLock_);
        if (lastListedPids_) return *lastListedPids_;
    }
    listEntries();
    std::lock_guard guard(processInfoCacheLock_);
    return lastListedPids_.value_or(std::vector<int32_t>{});
}

std::vector<ProcessNetworkInfo> ProcessCollector::collectNetworkStats(int limit) {
    if (!sources_.network) return {};
    auto counters = sources_.network->readNetworkCounters(listedPids());
    networkHealth_.note(counters);
    if (!counters) return {};

    std::vector<ProcessNetworkInfo> stats;
    stats.reserve(counters->size());
    for (auto& reading : *counters) {
        if (reading.bytesIn == 0 && reading.bytesOut == 0) continue;
        cleanProcessName(reading.name);
        stats.push_back({.pid = reading.pid,
                         .name = std::move(reading.name),
                         .bytesIn = reading.bytesIn,
                         .bytesOut = reading.bytesOut});
    }
    {
        std::lock_guard guard(cachedStatsLock_);
        lastNetworkStats_ = stats;
    }
    std::stable_sort(stats.begin(), stats.end(),
                     [](const auto& a, const auto& b) { return totalBytes(a) > totalBytes(b); });
    stats.resize(std::min(stats.size(), clampedLimit(limit)));
    return stats;
}

std::vector<ProcessDiskInfo> ProcessCollector::collectDiskStats(int limit) {
    if (!sources_.disk) return {};
    const Duration now = clock_.monotonic();
    auto counters = sources_.disk->readDiskCounters(listedPids());
    diskHealth_.note(counters);
    if (!counters) return {};

    // Idle processes are not worth a baseline entry.
    std::erase_if(*counters, [](const ProcessDiskCounters& reading) {
        return reading.bytesRead == 0 && reading.bytesWritten == 0;
    });
    std::unordered_map<int32_t, std::pair<uint64_t, uint64_t>> current;
    current.reserve(counters->size());
    for (const auto& reading : *counters) {
        current[reading.pid] = {reading.bytesRead, reading.bytesWritten};
    }

    std::unordered_map<int32_t, std::pair<uint64_t, uint64_t>> previous;
    std::optional<Duration> previousTime;
    {
        // The baseline moves on every call, also when no result follows.
        std::lock_guard guard(diskIOLock_);
        previous = std::exchange(diskIOBaseline_, std::move(current));
        previousTime = std::exchange(diskIOBaselineTime_, now);
    }
    if (!previousTime) return {};
    const double elapsed = std::chrono::duration<double>(now - *previousTime).count();
    // Two overlapping samples would give absurd rates over a tiny interval.
    if (!(elapsed > 0.1)) return {};

    std::vector<ProcessDiskInfo> stats;
    for (auto& reading : *counters) {
        const auto old = previous.find(reading.pid);
        if (old == previous.end()) continue;
        const auto [oldRead, oldWritten] = old->second;
        // Counters that went down belong to another process that reused the pid.
        if (oldRead > reading.bytesRead || oldWritten > reading.bytesWritten) continue;
        const double readRate = static_cast<double>(reading.bytesRead - oldRead) / elapsed;
        const double writeRate = static_cast<double>(reading.bytesWritten - oldWritten) / elapsed;
        if (!(readRate > 0) && !(writeRate > 0)) continue;
        cleanProcessName(reading.name);
        stats.push_back({.pid = reading.pid,
                         .name = std::move(reading.name),
                         .readBytesPerSec = roundedTo(readRate, 1),
                         .writeBytesPerSec = roundedTo(writeRate, 1)});
    }
    std::stable_sort(stats.begin(), stats.end(), [](const auto& a, const auto& b) {
        return a.readBytesPerSec + a.writeBytesPerSec > b.readBytesPerSec + b.writeBytesPerSec;
    });
    {
        std::lock_guard guard(cachedStatsLock_);
        lastDiskStats_ = stats;
    }
    stats.resize(std::min(stats.size(), clampedLimit(limit)));
    return stats;
}

std::pair<uint64_t, uint64_t> ProcessCollector::aggregateNetworkForPids(
    const std::set<int64_t>& pids) const {
    std::vector<ProcessNetworkInfo> stats;
    {
        std::lock_guard guard(cachedStatsLock_);
        stats = lastNetworkStats_;
    }
    return sumForPids(stats, pids, &ProcessNetworkInfo::bytesIn, &ProcessNetworkInfo::bytesOut,
                      checkedSum);
}

std::pair<double, double> ProcessCollector::aggregateDiskForPids(
    const std::set<int64_t>& pids) const {
    std::vector<ProcessDiskInfo> stats;
    {
        std::lock_guard guard(cachedStatsLock_);
        stats = lastDiskStats_;
    }
    const auto [read, written] =
        sumForPids(stats, pids, &ProcessDiskInfo::readBytesPerSec,
                   &ProcessDiskInfo::writeBytesPerSec, [](double a, double b) { return a + b; });
    return {roundedTo(read, 1), roundedTo(written, 1)};
}

WatchedProcessMetrics ProcessCollector::aggregateByPrefix(const std::string& prefix) {
    return aggregate(prefix, true);
}

WatchedProcessMetrics ProcessCollector::aggregateByExactName(const std::string& name) {
    return aggregate(name, false);
}

WatchedProcessMetrics ProcessCollector::aggregate(const std::string& pattern, bool byPrefix) {
    std::shared_ptr<const std::vector<ProcessEntry>> last;
    {
        std::lock_guard guard(processInfoCacheLock_);
        last = lastCollectedProcessInfos_;
    }
    if (!last || last->empty()) {
        last = std::make_shared<const std::vector<ProcessEntry>>(collectProcessInfo());
    }
    const std::vector<ProcessEntry>& entries = *last;

    const std::string lowerPrefix = asciiLowered(pattern);
    WatchedProcessMetrics watched{.pattern = pattern};
    double cpu = 0;
    double memory = 0;
    std::set<int64_t> pids;
    for (const auto& entry : entries) {
        const bool matches =
            byPrefix ? asciiLowered(entry.name).starts_with(lowerPrefix) : entry.name == pattern;
        if (!matches) continue;
        cpu += entry.cpuPercent;
        memory += entry.memoryMB;
        ++watched.processCount;
        watched.pids.push_back(entry.pid);
        pids.insert(entry.pid);
    }
    watched.cpuPercent = roundedTo(cpu, 1);
    watched.memoryMB = roundedTo(memory, 1);
    std::tie(watched.networkBytesIn, watched.networkBytesOut) = aggregateNetworkForPids(pids);
    std::tie(watched.diskReadBytesPerSec, watched.diskWriteBytesPerSec) =
        aggregateDiskForPids(pids);
    return watched;
}

std::vector<ProcessSearchResult> ProcessCollector::searchProcesses(const std::string& query,
                                                                   int limit, bool aggregate) {
    if (query.empty() || limit <= 0) return {};
    const std::string needle = asciiLowered(query);
    std::vector<ProcessSearchResult> groups;
    std::unordered_map<std::string, size_t> groupIndex;
    for (const auto& entry : collectProcessInfo()) {
        std::string key = aggregate ? ProcessNameUtils::extractBaseName(entry.name) : entry.name;
        const bool matches = asciiLowered(entry.name).find(needle) != std::string::npos ||
                             (aggregate && asciiLowered(key).find(needle) != std::string::npos);
        if (!matches) continue;
        auto [slot, added] = groupIndex.try_emplace(key, groups.size());
        if (added) groups.push_back({.name = std::move(key)});
        ProcessSearchResult& group = groups[slot->second];
        group.cpuPercent += entry.cpuPercent;
        group.memoryMB += entry.memoryMB;
        ++group.instanceCount;
    }
    std::stable_sort(groups.begin(), groups.end(),
                     [](const auto& a, const auto& b) { return a.cpuPercent > b.cpuPercent; });
    groups.resize(std::min(groups.size(), clampedLimit(limit)));
    for (auto& group : groups) {
        group.cpuPercent = roundedTo(group.cpuPercent, 1);
        group.memoryMB = roundedTo(group.memoryMB, 1);
    }
    return groups;
}

}  // namespace ostrel
