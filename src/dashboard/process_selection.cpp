#include "dashboard/process_selection.h"

#include <fmt/format.h>

#include "dashboard/dashboard_dates.h"

namespace ostrel {
namespace {

using C = DashboardColor;

// The pop-over offers a search field only once the list is long enough to need one.
constexpr size_t kPatternsForSearch = 6;

}  // namespace

ProcessSelectionBarContent processSelectionBar(const std::vector<std::string>& patterns,
                                               const std::optional<std::string>& selected) {
    ProcessSelectionBarContent bar{.noneAvailable = patterns.empty(),
                                   .pillText = selected.value_or("Select process"),
                                   .isSelected = selected.has_value()};
    if (!patterns.empty())
        bar.trackedCount = fmt::format("{} pinned processes tracked", patterns.size());
    return bar;
}

ProcessPillPopOver processPillPopOver(const std::vector<std::string>& patterns,
                                      const std::optional<std::string>& selected,
                                      std::string_view searchText) {
    ProcessPillPopOver popOver{.showsSearchField = patterns.size() >= kPatternsForSearch};
    for (std::string& pattern : filteredProcesses(patterns, searchText)) {
        const bool isSelected = pattern == selected;
        popOver.items.push_back({std::move(pattern), isSelected});
    }
    if (popOver.items.empty()) popOver.emptyText = "No matches";
    if (selected) popOver.clearText = "Clear Selection";
    return popOver;
}

ProcessAnalysisSection processAnalysisSection(const std::optional<std::string>& selected,
                                              const ProcessSeries& whole,
                                              const ChartSeries& shownCPU, Date now) {
    ProcessAnalysisSection section;
    if (!selected || (whole.cpu.empty() && whole.memory.empty())) return section;
    const std::string& name = *selected;
    section.isShown = true;
    section.title = name;
    if (!shownCPU.empty())
        section.dataRange =
            formatProcessDataRange(shownCPU.front().date, shownCPU.back().date, now);
    section.sampleCount = fmt::format("{} samples", shownCPU.size());
    section.charts.push_back({"CPU %",
                              ChartKind::simple,
                              {{&ProcessSeries::cpu, name, C::orange}},
                              "proc-cpu",
                              "CPU usage of " + name + " over time."});
    section.charts.push_back({"Memory (MB)",
                              ChartKind::simple,
                              {{&ProcessSeries::memory, name, C::purple}},
                              "proc-mem",
                              "Memory usage of " + name + " over time."});
    if (whole.networkIn.empty() && whole.networkOut.empty() && whole.diskRead.empty() &&
        whole.diskWrite.empty()) {
        return section;
    }
    section.charts.push_back(
        {"Network (KB)",
         ChartKind::multiSeriesLine,
         {{&ProcessSeries::networkIn, "In", C::blue}, {&ProcessSeries::networkOut, "Out", C::cyan}},
         "proc-net",
         "Network in/out of " + name + " over time."});
    section.charts.push_back({"Disk I/O (KB/s)",
                              ChartKind::multiSeriesLine,
                              {{&ProcessSeries::diskRead, "Read", C::green},
                               {&ProcessSeries::diskWrite, "Write", C::orange}},
                              "proc-disk",
                              "Disk read/write rate of " + name + " over time."});
    return section;
}

}  // namespace ostrel
