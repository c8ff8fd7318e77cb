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

// The title over the three tables.
inline constexpr std::string_view kAnalyticsTitle = "Analytics";

// "Sustained" red, "Recurring" orange, "Spike" green, anything else gray.
DashboardColor impactColor(std::string_view impact);

// A column of a compact table: its title, the colour of its cells and, for the columns that sort
// a ranked table, the mode a click sets. The active one's title is primary and carries a
// "chevron.down"; the others' are secondary.
struct TableColumn {
    std::string title;
    DashboardColor cellColor = DashboardColor::primary;
    std::optional<ProcessSortMode> sortMode;
    bool isActive = false;

    bool operator==(const TableColumn&) const = default;
};

// A chip that filters a ranked table: white text on its colour when selected, else its text in
// the colour on a faint background of it. The impacts keep their badges' colours.
struct FilterChip {
    std::string label;  // rawValue(mode)
    ProcessFilterMode mode = ProcessFilterMode::all;
    bool isSelected = false;
    DashboardColor color = DashboardColor::primary;

    bool operator==(const FilterChip&) const = default;
};

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
    std::vector<FilterChip> chips;     // one per filter mode
    std::vector<TableColumn> columns;  // rank, "Process", "Avg", "Peak", "Pres", "Impact"
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

struct NetworkTableRow {
    int rank = 0;
    std::string name;
    std::string bytesIn;   // blue
    std::string bytesOut;  // cyan
    std::string total;     // secondary

    bool operator==(const NetworkTableRow&) const = default;
};

struct NetworkTable {
    std::string title;
    std::string icon;
    DashboardColor iconColor = DashboardColor::blue;
    std::optional<std::string> emptyText;  // "No data"
    std::vector<TableColumn> columns;      // rank, "Process", "In", "Out", "Total"
    std::vector<NetworkTableRow> rows;     // at most 8

    bool operator==(const NetworkTable&) const = default;
};

// "Top Network": the first 8 of the latest sample's list, in its order.
NetworkTable topNetworkTable(const std::vector<ProcessNetworkInfo>& processes);

}  // namespace ostrel
