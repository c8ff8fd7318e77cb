#include "dashboard/cpu_tooltip.h"

#include <fmt/format.h>

#include "dashboard/chart_formatters.h"
#include "dashboard/chart_geometry.h"
#include "records/value_format.h"

namespace ostrel {

DashboardColor cpuTotalColor(double total) {
    if (total < 50) return DashboardColor::green;
    if (total < 80) return DashboardColor::yellow;
    return DashboardColor::red;
}

double shownCPU(const ProcessSnapshot& process, bool normalize) {
    // A core count of zero would come only from a damaged sample; show the raw figure then.
    if (!normalize || process.cpuCores <= 0) return process.cpu;
    return process.cpu / double(process.cpuCores);
}

std::optional<CPUTooltip> cpuTooltip(const ChartSeries& user, const ChartSeries& system, Date date,
                                     bool normalizeCPU, const std::optional<SourceTimeZone>& zone,
                                     bool isLinked) {
    const auto userIndex = findClosest(user, date);
    const auto systemIndex = findClosest(system, date);
    if (!userIndex && !systemIndex) return std::nullopt;
    const ChartPoint* userPoint = userIndex ? &user[*userIndex] : nullptr;
    const ChartPoint* systemPoint = systemIndex ? &system[*systemIndex] : nullptr;
    const double total =
        (userPoint ? userPoint->value : 0) + (systemPoint ? systemPoint->value : 0);

    CPUTooltip tooltip{
        .time = ChartFormatters::time((userPoint ? userPoint : systemPoint)->date, zone),
        .total = fmt::format("Total: {:.1f}%", total),
        .totalColor = cpuTotalColor(total),
        .isLinked = isLinked};
    // The builder attaches the moment's processes to the user series.
    const ChartPoint* withProcesses =
        userPoint && userPoint->topProcesses ? userPoint : systemPoint;
    if (withProcesses && withProcesses->topProcesses) {
        for (const ProcessSnapshot& process : *withProcesses->topProcesses) {
            tooltip.processes.push_back(
                {process.pid, process.name,
                 ValueFormat::formatPercent(shownCPU(process, normalizeCPU)),
                 ChartFormatters::formattedMemory(process)});
        }
    }
    return tooltip;
}

}  // namespace ostrel
