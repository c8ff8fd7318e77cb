#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dashboard/dashboard_charts.h"
#include "dashboard/process_analysis.h"

namespace ostrel {

// The bar under the system charts that picks the watched process to chart.
struct ProcessSelectionBar {
    bool noneAvailable = true;  // "None available" instead of the selector
    std::string pillText;       // the selected pattern, or "Select process"
    bool isSelected = false;    // the pill is tinted and "Clear selection" shows
    bool showsSearchField = false;
    std::optional<std::string> trackedCount;  // "3 pinned processes tracked"

    bool operator==(const ProcessSelectionBar&) const = default;
};
ProcessSelectionBar processSelectionBar(const std::vector<std::string>& patterns,
                                        const std::optional<std::string>& selected);

// The selector's pop-over: the patterns the search keeps, or "No matches".
struct ProcessPillItem {
    std::string pattern;
    bool isSelected = false;  // carries the "checkmark"

    bool operator==(const ProcessPillItem&) const = default;
};
std::vector<ProcessPillItem> processPillItems(const std::vector<std::string>& patterns,
                                              const std::optional<std::string>& selected,
                                              std::string_view searchText);

// One chart of the process analysis section, over a series of the process.
struct ProcessChartDefinition {
    std::string title;
    ChartKind kind = ChartKind::simple;
    std::vector<SeriesDefinition<ProcessSeries>> series;
    std::string identifier;
    std::string helpText;
    double height = 200;
};

// The section below the bar; shown only for a selected process with CPU or memory points.
struct ProcessAnalysisSection {
    bool isShown = false;
    std::string title;      // the pattern
    std::string dataRange;  // of the shown CPU points, in the viewer's zone
    std::string sampleCount;
    std::vector<ProcessChartDefinition> charts;  // CPU and memory, then network and disk if any
};

// `whole` decides what shows; `shownCPU` (zoomed, normalised) gives the range and the count.
ProcessAnalysisSection processAnalysisSection(const std::optional<std::string>& selected,
                                              const ProcessSeries& whole,
                                              const ChartSeries& shownCPU, Date now);

}  // namespace ostrel
