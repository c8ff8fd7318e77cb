#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dashboard/dashboard_color.h"
#include "dashboard/process_aggregate.h"
#include "dashboard/process_analysis.h"
#include "records/system_metrics.h"

namespace ostrel {

// "Sustained" red, "Recurring" orange, "Spike" green, anything else gray.
DashboardColor impactColor(std::string_view impact);

struct ProcessTableRow {
    int rank = 0;  // from 1
    std::string name;
    std::string value;
    std::string peak;
    std::string presence;  // "80%"
    std::string impact;
    DashboardColor impactColor = DashboardColor::gray;

    bool operator==(const ProcessTableRow&) const = default;
};

// A ranked table of the analytics section, as its sort and filter leave it.
struct ProcessTable {
    std::string title;
    std::string icon;
    DashboardColor iconColor = DashboardColor::primary;
    std::string valueColumn;  // rawValue(ProcessSortMode::usage)
    // "No data" with no process at all, "No Sustained processes" when the filter leaves none.
    std::optional<std::string> emptyText;
    std::vector<ProcessTableRow> rows;  // at most 10

    bool operator==(const ProcessTable&) const = default;
};

// "Top CPU": means and peaks in "%.2f%%", divided by `normalizationCores` when present.
ProcessTable topCPUTable(const std::vector<ProcessAggregate>& processes, ProcessFilterMode filter,
                         ProcessSortMode sort, std::optional<int64_t> normalizationCores);
// "Top Memory": means and peaks through formatMB.
ProcessTable topMemoryTable(const std::vector<ProcessAggregate>& processes,
                            ProcessFilterMode filter, ProcessSortMode sort);

// The network table's short sizes: "1.5G" from 1000 MB on, "12.3M" from 1 MB, else "512K".
std::string formatNetworkTableBytes(uint64_t bytes);

struct NetworkTableRow {
    int rank = 0;
    std::string name;
    std::string bytesIn;   // blue
    std::string bytesOut;  // cyan
    std::string total;     // secondary

    bool operator==(const NetworkTableRow&) const = default;
};

// "Top Network": the first 8 of the latest sample's list, in its order; empty shows "No data".
std::vector<NetworkTableRow> topNetworkRows(const std::vector<ProcessNetworkInfo>& processes);

}  // namespace ostrel
