#include "popup/popup_process_rows.h"

#include <fmt/format.h>

#include <algorithm>

#include "monitor/performance_monitor.h"
#include "popup/popup_format.h"
#include "records/text.h"
#include "records/value_format.h"

namespace ostrel::PopupProcessRows {
namespace {

using PopupFormat::pidList;
using ValueFormat::formatMB;
using ValueFormat::formatPercent;

constexpr int kMaxPins = PerformanceMonitor::kMaxPinnedProcesses;

// Pins match without regard to case, as the monitor matches them.
bool isPinned(const PopupInputs& inputs, const std::string& name) {
    const std::string wanted = asciiLowered(name);
    return std::ranges::any_of(inputs.pinnedProcesses,
                               [&](const std::string& pin) { return asciiLowered(pin) == wanted; });
}

bool pinsFull(const PopupInputs& inputs) {
    return inputs.pinnedProcesses.size() >= size_t(kMaxPins);
}

// A top-list row's pin: an unpinned name at the limit says so and does nothing.
PinButton listPin(const PopupInputs& inputs, const std::string& name) {
    if (isPinned(inputs, name)) return {name, true, true, "pin.fill", "Unpin " + name};
    const bool full = pinsFull(inputs);
    return {name, false, !full, "pin", "Pin " + name + (full ? " (max 5)" : "")};
}

std::string valueText(std::optional<double> value, ProcessValueType type) {
    return type == ProcessValueType::cpu ? formatPercent(value.value_or(0))
                                         : formatMB(value.value_or(0));
}

std::string count(int64_t members) {
    return members > 1 ? std::to_string(members) : std::string();
}

}  // namespace

ProcessList processList(const PopupInputs& inputs, ProcessAggregator& aggregator, std::string title,
                        std::string help, const std::vector<ProcessMetricInfo>& processes,
                        ProcessValueType type) {
    const MonitorConfig& config = inputs.config;
    ProcessList list{.title = std::move(title), .help = std::move(help)};
    if (!config.aggregateProcesses) {
        for (const ProcessMetricInfo& process : processes) {
            const double value =
                (type == ProcessValueType::cpu ? process.cpuPercent : process.memoryMB).value_or(0);
            list.rows.push_back({
                .pin = listPin(inputs, process.name),
                .name = process.name,
                .pid = config.showPIDsInUI ? std::to_string(process.pid) : std::string(),
                .value = valueText(value, type),
                .help = process.name,
            });
        }
        return list;
    }
    list.note = "(combined)";
    for (const AggregatedProcess& group : aggregator.aggregate(processes, type)) {
        const std::string pids = config.showPIDsInUI ? pidList(group.pids) : std::string();
        list.rows.push_back({
            .pin = listPin(inputs, group.baseName),
            .name = group.baseName,
            .count = count(group.processCount),
            .value =
                valueText(type == ProcessValueType::cpu ? group.totalCPU : group.totalMemory, type),
            .help = pids.empty() ? group.baseName : pids,
        });
    }
    return list;
}

WatchedSection watchedSection(const PopupInputs& inputs) {
    WatchedSection section{
        .headerImage = "pin.fill", .title = "Watched Processes", .note = "(click to unpin)"};
    for (const std::string& pattern : inputs.pinnedProcesses) {
        WatchedRow row{
            .pattern = pattern,
            .unpin = {pattern, true, true, "pin.fill", "Unpin " + pattern},
            .help = "Click to unpin " + pattern,
        };
        const auto metrics =
            std::ranges::find(inputs.watchedMetrics, pattern, &WatchedProcessMetrics::pattern);
        if (metrics == inputs.watchedMetrics.end() || metrics->processCount <= 0) {
            row.noMatch = "No matching processes found";
            section.rows.push_back(std::move(row));
            continue;
        }
        row.count = count(metrics->processCount);
        row.figures.push_back({formatPercent(metrics->cpuPercent), PopupColor::blue});
        row.figures.push_back({formatMB(metrics->memoryMB), PopupColor::purple});
        const uint64_t network = metrics->networkBytesIn + metrics->networkBytesOut;
        if (network > 0)
            row.figures.push_back({ValueFormat::formatBytes(network), PopupColor::cyan});
        const double disk = metrics->diskReadBytesPerSec + metrics->diskWriteBytesPerSec;
        if (disk > 0) row.figures.push_back({ValueFormat::formatRate(disk), PopupColor::green});
        if (inputs.config.showPIDsInUI && !metrics->pids.empty())
            row.help = pidList(metrics->pids) + "\n" + row.help;
        section.rows.push_back(std::move(row));
    }
    return section;
}

SearchSection searchSection(const PopupInputs& inputs) {
    SearchSection section{
        .image = "magnifyingglass",
        .title = "Find & Pin Process",
        .expanded = inputs.searchExpanded,
    };
    if (!inputs.searchExpanded) return section;
    if (inputs.config.aggregateProcesses) section.groupedNote = "(grouped)";
    section.maxNote = fmt::format("Max {} pinned", kMaxPins);
    section.closeImage = "xmark.circle.fill";
    section.placeholder = "Search running processes...";
    section.text = inputs.searchText;
    section.showsClearButton = !inputs.searchText.empty();
    if (inputs.searchText.empty()) return section;

    section.showsList = true;
    section.listHeight = searchListHeight(inputs.processSearchResults.size());
    if (inputs.processSearchResults.empty()) section.noResults = "No matching processes";
    for (const ProcessSearchResult& result : inputs.processSearchResults) {
        PinButton pin{result.name, isPinned(inputs, result.name), true, "pin", ""};
        if (pin.pinned) {
            pin.image = "pin.fill";
            pin.help = "Unpin " + result.name;
        } else if (pinsFull(inputs)) {
            pin.enabled = false;
            pin.help = "Maximum pinned reached";
        } else {
            pin.help = "Pin " + result.name;
        }
        section.results.push_back({
            .pin = std::move(pin),
            .name = result.name,
            .count = count(result.instanceCount),
            .value = formatPercent(result.cpuPercent),
            .memory = formatMB(result.memoryMB),
            .help = result.name,
        });
    }
    return section;
}

int searchListHeight(size_t results) {
    return int(std::min<size_t>(results * 18 + 12, 180));
}

}  // namespace ostrel::PopupProcessRows
