#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dashboard/chart_point.h"
#include "dashboard/compact_metric.h"
#include "dashboard/process_aggregate.h"
#include "records/watched_process_event.h"

namespace ostrel {

// The six series of one watched process over time.
struct ProcessSeries {
    ChartSeries cpu;         // percent of one core, labelled with the pattern
    ChartSeries memory;      // MB, labelled with the pattern
    ChartSeries networkIn;   // KB, "In"
    ChartSeries networkOut;  // KB, "Out"
    ChartSeries diskRead;    // KB/s, "Read"
    ChartSeries diskWrite;   // KB/s, "Write"

    static constexpr std::array<ChartSeries ProcessSeries::*, 6> kAll = {
        &ProcessSeries::cpu,        &ProcessSeries::memory,   &ProcessSeries::networkIn,
        &ProcessSeries::networkOut, &ProcessSeries::diskRead, &ProcessSeries::diskWrite};
};

// Every event of `pattern` (exactly) whose timestamp parses, ascending by time, unreduced.
ProcessSeries buildProcessSeries(const std::vector<WatchedProcessEvent>& events,
                                 const std::string& pattern);

// The distinct patterns of the events, ascending.
std::vector<std::string> availableProcessPatterns(const std::vector<WatchedProcessEvent>& events);

// How a ranked table orders its rows; the raw value is also the column's title.
enum class ProcessSortMode { usage, peak, presence };
std::string_view rawValue(ProcessSortMode mode);  // "Avg", "Peak", "Presence"

// Which rows a ranked table shows; the raw value is also the chip's label and, but for "All",
// the impact it keeps.
enum class ProcessFilterMode { all, sustained, recurring, spike };
std::string_view rawValue(ProcessFilterMode mode);  // "All", "Sustained", "Recurring", "Spike"

// The rows of a table: those of the filter's impact, in the list's order (by mean) for
// `usage`, else stably by peak CPU (`isCPU`) or peak memory, or by presence, descending.
std::vector<ProcessAggregate> filteredAndSortedProcesses(const std::vector<ProcessAggregate>& rows,
                                                         ProcessFilterMode filter,
                                                         ProcessSortMode sort, bool isCPU);

// The patterns that contain `searchText` regardless of case; all of them for an empty text.
std::vector<std::string> filteredProcesses(const std::vector<std::string>& patterns,
                                           std::string_view searchText);

// A process's CPU percent is per core (four busy cores read 400 %). Normalising divides by the
// machine's cores to give a share of the whole machine: those of the latest record, else 8.
int64_t normalizationCores(const std::optional<CompactMetric>& latest);
ChartSeries normalizedCPU(const ChartSeries& series, int64_t cores);

}  // namespace ostrel
