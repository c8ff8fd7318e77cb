#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/process_name_source.h"
#include "records/system_metrics.h"

namespace ostrel {

// Which figure a process list ranks and shows.
enum class ProcessValueType { cpu, memory };

// One application's row in a grouped process list.
struct AggregatedProcess {
    // Fresh for each row: identity within one list only, not between refreshes.
    uint64_t id = 0;
    std::string baseName;
    int64_t processCount = 0;
    // Sums, 1 decimal; absent unless above 0.
    std::optional<double> totalCPU;
    std::optional<double> totalMemory;
    std::vector<int64_t> pids;

    bool operator==(const AggregatedProcess&) const = default;
};

// Folds a top-process list into one row per application by walking each process's parent
// chain as far as the list allows. The names of parents outside the list are looked up once
// and cached; the cache is emptied at once when it reaches its bound, a guard against a
// long-lived process gathering dead pids (a reused pid may show a stale name: accepted).
class ProcessAggregator {
  public:
    static constexpr size_t kParentNameCacheLimit = 500;

    explicit ProcessAggregator(std::unique_ptr<ProcessNameSource> names);

    // Groups sorted by `by`, descending, in order of first appearance among equals. Members
    // are in input order, or, with `preferUser`, that user's processes first, each part by
    // ascending pid.
    std::vector<AggregatedProcess> aggregate(const std::vector<ProcessMetricInfo>& processes,
                                             ProcessValueType by,
                                             const std::optional<std::string>& preferUser = {});

    // The application name of process `pid`, from the cache or the platform.
    std::optional<std::string> getParentProcessName(int64_t pid);
    size_t cachedNameCount() const;

    struct GroupKey {
        // A root's pid in the list, or the negated pid of the parent outside it.
        int64_t key = 0;
        std::string name;
        std::optional<int64_t> parentPid;
    };
    using ProcessesByPid = std::unordered_map<int64_t, const ProcessMetricInfo*>;
    // Walks up from `process`; a pid met twice in `visited` ends the walk there.
    static GroupKey findGroupKey(const ProcessMetricInfo& process, const ProcessesByPid& byPid,
                                 std::unordered_set<int64_t>& visited);

    // "/Applications/Foo.app/Contents/MacOS/Foo" gives "Foo"; other text its base name.
    static std::string extractAppName(const std::string& text);
    // The most frequent name, the shorter first among equals; "Unknown" for none.
    static std::string mostCommonName(const std::vector<std::string>& names);

  private:
    std::unique_ptr<ProcessNameSource> names_;
    mutable std::mutex cacheLock_;
    std::unordered_map<int64_t, std::string> parentNameCache_;
    uint64_t lastId_ = 0;
};

}  // namespace ostrel
