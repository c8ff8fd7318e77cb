#include "dashboard/analytics_tables.h"

#include <fmt/format.h>

#include <functional>

#include "records/value_format.h"

namespace ostrel {
namespace {

using C = DashboardColor;

constexpr size_t kShownProcessRows = 10;
constexpr size_t kShownNetworkRows = 8;
constexpr const char* kRankTitle = "#";

using Formatter = std::function<std::string(double)>;

std::vector<FilterChip> filterChips(ProcessFilterMode selected, DashboardColor tableColor) {
    std::vector<FilterChip> chips;
    for (const ProcessFilterMode mode : {ProcessFilterMode::all, ProcessFilterMode::sustained,
                                         ProcessFilterMode::recurring, ProcessFilterMode::spike}) {
        const std::string_view label = rawValue(mode);
        chips.push_back({std::string(label), mode, mode == selected,
                         mode == ProcessFilterMode::all ? tableColor : impactColor(label)});
    }
    return chips;
}

std::vector<TableColumn> processColumns(ProcessSortMode active) {
    const auto sorting = [active](std::string title, ProcessSortMode mode) {
        return TableColumn{std::move(title), C::primary, mode, mode == active};
    };
    return {{kRankTitle, C::secondary},
            {"Process"},
            sorting(std::string(rawValue(ProcessSortMode::usage)), ProcessSortMode::usage),
            sorting(std::string(rawValue(ProcessSortMode::peak)), ProcessSortMode::peak),
            sorting("Pres", ProcessSortMode::presence),
            {"Impact"}};
}

ProcessTable processTable(std::string title, std::string icon, DashboardColor color,
                          const std::vector<ProcessAggregate>& processes, ProcessFilterMode filter,
                          ProcessSortMode sort, bool isCPU, const Formatter& format) {
    ProcessTable table{.title = std::move(title),
                       .icon = std::move(icon),
                       .iconColor = color,
                       .chips = filterChips(filter, color),
                       .columns = processColumns(sort)};
    if (processes.empty()) {
        table.emptyText = "No data";
        return table;
    }
    const auto shown = filteredAndSortedProcesses(processes, filter, sort, isCPU);
    if (shown.empty()) {
        table.emptyText = fmt::format("No {} processes", rawValue(filter));
        return table;
    }
    for (size_t i = 0; i < shown.size() && i < kShownProcessRows; ++i) {
        const ProcessAggregate& process = shown[i];
        const std::string_view impact = process.impact();
        table.rows.push_back({int(i + 1), process.name,
                              format(isCPU ? process.avgCPU : process.avgMemoryMB),
                              format(isCPU ? process.peakCPU : process.peakMemoryMB),
                              presenceText(process), std::string(impact), impactColor(impact)});
    }
    return table;
}

}  // namespace

DashboardColor impactColor(std::string_view impact) {
    if (impact == "Sustained") return C::red;
    if (impact == "Recurring") return C::orange;
    if (impact == "Spike") return C::green;
    return C::gray;
}

ProcessTable topCPUTable(const std::vector<ProcessAggregate>& processes, ProcessFilterMode filter,
                         ProcessSortMode sort, std::optional<int64_t> normalizationCores) {
    const double divisor =
        normalizationCores && *normalizationCores > 0 ? double(*normalizationCores) : 1;
    return processTable("Top CPU", "cpu", C::orange, processes, filter, sort, true,
                        [divisor](double cpu) { return cpuPercentText(cpu / divisor); });
}

ProcessTable topMemoryTable(const std::vector<ProcessAggregate>& processes,
                            ProcessFilterMode filter, ProcessSortMode sort) {
    return processTable("Top Memory", "memorychip", C::purple, processes, filter, sort, false,
                        [](double mb) { return ValueFormat::formatMB(mb); });
}

NetworkTable topNetworkTable(const std::vector<ProcessNetworkInfo>& processes) {
    NetworkTable table{.title = "Top Network",
                       .icon = "network",
                       .iconColor = C::blue,
                       .columns = {{kRankTitle, C::secondary},
                                   {"Process"},
                                   {"In", C::blue},
                                   {"Out", C::cyan},
                                   {"Total", C::secondary}}};
    if (processes.empty()) table.emptyText = "No data";
    for (size_t i = 0; i < processes.size() && i < kShownNetworkRows; ++i) {
        const ProcessNetworkInfo& process = processes[i];
        table.rows.push_back({int(i + 1), process.name, networkBytesText(process.bytesIn),
                              networkBytesText(process.bytesOut),
                              networkBytesText(process.bytesIn + process.bytesOut)});
    }
    return table;
}

}  // namespace ostrel
