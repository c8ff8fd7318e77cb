#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "collectors/process_memory_refresher.h"
#include "collectors/source_health.h"
#include "platform/dispatcher.h"
#include "platform/process_source.h"
#include "records/process_search_result.h"
#include "records/system_metrics.h"
#include "records/watched_process_event.h"

namespace ostrel {

class ProcessCpuTracker;

// One process of a sample's list: CPU rounded to 1 decimal (100 = one full core), memory in
// mebibytes rounded to 1 decimal.
struct ProcessEntry {
    int32_t pid = 0;
    int32_t ppid = 0;
    std::string name;
    double cpuPercent = 0;
    double memoryMB = 0;
    std::string user;

    bool operator==(const ProcessEntry&) const = default;
};

// Lists the machine's processes for each sample (top CPU and memory, per-process network and
// disk), for watched names and for the popup's search. Memory figures of the largest processes
// are refined on a timer of its own, off the sampling path. Every operation is safe to call
// from several threads; none fails outward: a missing source gives empty lists and zeros.
class ProcessCollector {
  public:
    static constexpr const char* kMemoryQueueLabel = "com.ostrel.memory-collection";
    // How many of the largest processes get a refined memory figure.
    static constexpr size_t kRefinedProcessCount = ProcessMemoryRefresher::kProcessCount;
    // How many entries `collect` keeps in topCPU and topMemory.
    static constexpr size_t kTopCount = 20;

    // Refines memory on its own serial queue from `dispatcher`, which must outlive the
    // collector.
    ProcessCollector(ProcessSources sources, Dispatcher& dispatcher);
    // With this machine's sources.
    explicit ProcessCollector(Dispatcher& dispatcher);
    ~ProcessCollector();
    ProcessCollector(const ProcessCollector&) = delete;
    ProcessCollector& operator=(const ProcessCollector&) = delete;

    // topCPU, topMemory and processCount; topNetwork and topDisk are left to the caller.
    ProcessMetrics collect();
    // The processes with the most bytes in and out, cumulative per process, at most `limit`.
    std::vector<ProcessNetworkInfo> collectNetworkStats(int limit);
    // Disk rates since the previous call, at most `limit`; the first call only sets a baseline.
    std::vector<ProcessDiskInfo> collectDiskStats(int limit);

    // Watched figures over the last collected list: names that start with `prefix`, ignoring
    // case, or that equal `name` exactly.
    WatchedProcessMetrics aggregateByPrefix(const std::string& prefix);
    WatchedProcessMetrics aggregateByExactName(const std::string& name);
    // A fresh list, filtered by `query` and grouped by name (or by application with
    // `aggregate`), the `limit` busiest first.
    std::vector<ProcessSearchResult> searchProcesses(const std::string& query, int limit,
                                                     bool aggregate);
    // Refinements are at least this far apart, following the collection interval; at least
    // 1 second.
    void setMemoryUpdateInterval(int seconds);

    // Sums over the last network and disk results for a set of pids.
    std::pair<uint64_t, uint64_t> aggregateNetworkForPids(const std::set<int64_t>& pids) const;
    std::pair<double, double> aggregateDiskForPids(const std::set<int64_t>& pids) const;

    // One fresh list with refined memory laid over the resident sizes.
    std::vector<ProcessEntry> collectProcessInfo();

  private:
    // The pids of the last listing, which the per-process readers share so that a sample lists
    // /proc once; listed now when no sample has listed yet.
    std::vector<int32_t> listedPids();
    WatchedProcessMetrics aggregate(const std::string& pattern, bool byPrefix);
    // The list, or nothing when the source could not list processes at all.
    std::optional<std::vector<ProcessEntry>> listEntries();

    ProcessSources sources_;
    std::unique_ptr<ProcessCpuTracker> cpuTracker_;

    mutable std::mutex diskIOLock_;
    std::unordered_map<int32_t, std::pair<uint64_t, uint64_t>> diskIOBaseline_;
    std::optional<Duration> diskIOBaselineTime_;

    mutable std::mutex cachedStatsLock_;
    std::vector<ProcessNetworkInfo> lastNetworkStats_;
    std::vector<ProcessDiskInfo> lastDiskStats_;

    mutable std::mutex processInfoCacheLock_;
    std::shared_ptr<const std::vector<ProcessEntry>> lastCollectedProcessInfos_;
    std::optional<std::vector<int32_t>> lastListedPids_;

    SourceHealth processHealth_{"Process list"};
    SourceHealth networkHealth_{"Per-process network counters"};
    SourceHealth diskHealth_{"Per-process disk counters"};

    const Clock& clock_;
    std::shared_ptr<SerialQueue> memoryCollectionQueue_;
    std::shared_ptr<ProcessMemoryRefresher> memory_;
};

}  // namespace ostrel
