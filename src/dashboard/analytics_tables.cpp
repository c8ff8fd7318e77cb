#include "dashboard/analytics_tables.h"

#include <fmt/format.h>

#include <functional>

#include "records/value_format.h"

namespace ostrel {
namespace {

constexpr size_t kShownProcessRows = 10;
constexpr size_t kShownNetworkRows = 8;

using Formatter = std::function<std::string(double)>;

ProcessTable processTable(std::string title, std::string icon, DashboardColor color,
                          const std::vector<ProcessAggregate>& processes, ProcessFilterMode filter,
                          ProcessSortMode sort, bool isCPU, const Formatter& format) {
    ProcessTable table{.title = std::move(title),
                       .icon = std::move(icon),
                       .iconColor = color,
                       .valueColumn = std::string(rawValue(ProcessSortMode::usage))};
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
        table.rows.push_back(
            {int(i + 1), process.name, format(isCPU ? process.avgCPU : process.avgMemoryMB),
             format(isCPU ? process.peakCPU : process.peakMemoryMB),
             fmt::format("{:.0f}%", process.presence()), std::string(impact), impactColor(impact)});
    }
    return table;
}

}  // namespace

DashboardColor impactColor(std::string_view impact) {
    if (impact == "Sustained") return DashboardColor::red;
    if (impact == "Recurring") return DashboardColor::orange;
    if (impact == "Spike") return DashboardColor::green;
    return DashboardColor::gray;
}

ProcessTable topCPUTable(const std::vector<ProcessAggregate>& processes, ProcessFilterMode filter,
                         ProcessSortMode sort, std::optional<int64_t> normalizationCores) {
    const double divisor =
        normalizationCores && *normalizationCores > 0 ? double(*normalizationCores) : 1;
    return processTable("Top CPU", "cpu", DashboardColor::orange, processes, filter, sort, true,
                        [divisor](double cpu) { return fmt::format("{:.2f}%", cpu / divisor); });
}

ProcessTable topMemoryTable(const std::vector<ProcessAggregate>& processes,
                            ProcessFilterMode filter, ProcessSortMode sort) {
    return processTable("Top Memory", "memorychip", DashboardColor::purple, processes, filter, sort,
                        false, [](double mb) { return ValueFormat::formatMB(mb); });
}

std::string formatNetworkTableBytes(uint64_t bytes) {
    const double mega = double(bytes) / 1024 / 1024;
    if (mega >= 1000) return fmt::format("{:.1f}G", mega / 1024);
    if (mega >= 1) return fmt::format("{:.1f}M", mega);
    return fmt::format("{:.0f}K", double(bytes) / 1024);
}

std::vector<NetworkTableRow> topNetworkRows(const std::vector<ProcessNetworkInfo>& processes) {
    std::vector<NetworkTableRow> rows;
    for (size_t i = 0; i < processes.size() && i < kShownNetworkRows; ++i) {
        const ProcessNetworkInfo& process = processes[i];
        rows.push_back({int(i + 1), process.name, formatNetworkTableBytes(process.bytesIn),
                        formatNetworkTableBytes(process.bytesOut),
                        formatNetworkTableBytes(process.bytesIn + process.bytesOut)});
    }
    return rows;
}

}  // namespace ostrel
