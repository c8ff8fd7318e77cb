#include "dashboard/process_analysis.h"

#include <algorithm>
#include <numeric>
#include <set>

#include "dashboard/dashboard_dates.h"
#include "records/text.h"

namespace ostrel {

ProcessSeries buildProcessSeries(const std::vector<WatchedProcessEvent>& events,
                                 const std::string& pattern) {
    struct Dated {
        Date date;
        const WatchedProcessMetrics* watched;
    };
    std::vector<Dated> matching;
    for (const WatchedProcessEvent& event : events) {
        if (event.watched.pattern != pattern) continue;
        if (const auto date = parseTimestamp(event.timestamp)) {
            matching.push_back({*date, &event.watched});
        }
    }
    // All six series share these dates, so one stable order serves them all.
    const auto earlier = [](const Dated& a, const Dated& b) { return a.date < b.date; };
    if (!std::is_sorted(matching.begin(), matching.end(), earlier)) {
        std::stable_sort(matching.begin(), matching.end(), earlier);
    }

    ProcessSeries series;
    for (const auto member : ProcessSeries::kAll)
        (series.*member).reserve(matching.size());
    const auto point = [](Date date, double value, const std::string& label) {
        return ChartPoint{.date = date, .value = value, .label = label};
    };
    const std::string in = "In", out = "Out", read = "Read", write = "Write";
    for (const auto& [date, watched] : matching) {
        // Byte counts go through signed 64-bit integers, as the counters are compared there.
        const auto kilo = [](uint64_t bytes) {
            return static_cast<double>(static_cast<int64_t>(bytes)) / 1024;
        };
        series.cpu.push_back(point(date, watched->cpuPercent, pattern));
        series.memory.push_back(point(date, watched->memoryMB, pattern));
        series.networkIn.push_back(point(date, kilo(watched->networkBytesIn), in));
        series.networkOut.push_back(point(date, kilo(watched->networkBytesOut), out));
        series.diskRead.push_back(point(date, watched->diskReadBytesPerSec / 1024, read));
        series.diskWrite.push_back(point(date, watched->diskWriteBytesPerSec / 1024, write));
    }
    return series;
}

std::vector<std::string> availableProcessPatterns(const std::vector<WatchedProcessEvent>& events) {
    std::set<std::string_view> patterns;
    for (const WatchedProcessEvent& event : events)
        patterns.insert(event.watched.pattern);
    return {patterns.begin(), patterns.end()};
}

std::string_view rawValue(ProcessSortMode mode) {
    switch (mode) {
        case ProcessSortMode::usage:
            return "Avg";
        case ProcessSortMode::peak:
            return "Peak";
        case ProcessSortMode::presence:
            return "Presence";
    }
    return "";
}

std::string_view rawValue(ProcessFilterMode mode) {
    switch (mode) {
        case ProcessFilterMode::all:
            return "All";
        case ProcessFilterMode::sustained:
            return "Sustained";
        case ProcessFilterMode::recurring:
            return "Recurring";
        case ProcessFilterMode::spike:
            return "Spike";
    }
    return "";
}

std::vector<ProcessAggregate> filteredAndSortedProcesses(const std::vector<ProcessAggregate>& rows,
                                                         ProcessFilterMode filter,
                                                         ProcessSortMode sort, bool isCPU) {
    std::vector<ProcessAggregate> shown;
    for (const ProcessAggregate& row : rows) {
        if (filter == ProcessFilterMode::all || row.impact() == rawValue(filter)) {
            shown.push_back(row);
        }
    }
    if (sort == ProcessSortMode::peak) {
        const auto peak = isCPU ? &ProcessAggregate::peakCPU : &ProcessAggregate::peakMemoryMB;
        std::stable_sort(shown.begin(), shown.end(),
                         [&](const auto& a, const auto& b) { return a.*peak > b.*peak; });
    } else if (sort == ProcessSortMode::presence) {
        std::stable_sort(shown.begin(), shown.end(),
                         [](const auto& a, const auto& b) { return a.presence() > b.presence(); });
    }
    return shown;
}

std::vector<std::string> filteredProcesses(const std::vector<std::string>& patterns,
                                           std::string_view searchText) {
    if (searchText.empty()) return patterns;
    const std::string needle = asciiLowered(searchText);
    std::vector<std::string> matching;
    for (const std::string& pattern : patterns) {
        if (asciiLowered(pattern).find(needle) != std::string::npos) matching.push_back(pattern);
    }
    return matching;
}

int64_t normalizationCores(const std::optional<CompactMetric>& latest) {
    // A count below one would be a broken record, not a machine.
    if (latest && latest->cpuCount && *latest->cpuCount > 0) return *latest->cpuCount;
    return kFallbackCpuCores;
}

ChartSeries normalizedCPU(const ChartSeries& series, int64_t cores) {
    ChartSeries normalized;
    normalized.reserve(series.size());
    for (const ChartPoint& point : series) {
        normalized.push_back(ChartPoint{.date = point.date,
                                        .value = point.value / static_cast<double>(cores),
                                        .label = point.label});
    }
    return normalized;
}

}  // namespace ostrel
