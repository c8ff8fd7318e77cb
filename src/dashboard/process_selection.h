#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dashboard/dashboard_charts.h"
#include "dashboard/process_analysis.h"

namespace ostrel {

// The bar under the system charts that picks the watched process to chart.
struct ProcessSelectionBarContent {
    std::string icon = "pin.fill";  // purple
    std::string title = "Pinned Process";
    bool noneAvailable = true;  // `noneText` instead of the selector
    std::string noneText = "None available";
    std::string pillText;     // the selected pattern, or "Select process"
    bool isSelected = false;  // the pill is tinted and the clear button shows
    std::string clearText = "Clear selection";
    std::optional<std::string> trackedCount;  // "3 pinned processes tracked"

    bool operator==(const ProcessSelectionBarContent&) const = default;
};
ProcessSelectionBarContent processSelectionBar(const std::vector<std::string>& patterns,
                                               const std::optional<std::string>& selected);

struct ProcessPillItem {
    std::string pattern;
    bool isSelected = false;  // carries the "checkmark"

    bool operator==(const ProcessPillItem&) const = default;
};

// The selector's pop-over: a search field for a long list, the patterns the search keeps (or
// "No matches"), and an entry that clears a selection.
struct ProcessPillPopOver {
    bool showsSearchField = false;
    std::string searchPrompt = "Search...";
    std::vector<ProcessPillItem> items;
    std::optional<std::string> emptyText;  // "No matches"
    std::optional<std::string> clearText;  // "Clear Selection", with "xmark.circle"

    bool operator==(const ProcessPillPopOver&) const = default;
};
ProcessPillPopOver processPillPopOver(const std::vector<std::string>& patterns,
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
