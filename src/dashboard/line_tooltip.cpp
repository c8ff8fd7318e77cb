#include "dashboard/line_tooltip.h"

#include "dashboard/chart_formatters.h"
#include "dashboard/chart_geometry.h"
#include "records/value_format.h"

namespace ostrel {
namespace {

bool hasProcessList(const ChartPoint& point) {
    return point.topNetworkProcesses || point.topDiskProcesses || point.topProcesses;
}

void addProcessLists(const ChartPoint& point, LineTooltip& tooltip) {
    if (point.topNetworkProcesses) {
        for (const NetworkProcessSnapshot& p : *point.topNetworkProcesses) {
            tooltip.networkProcesses.push_back({p.pid, p.name, ValueFormat::formatBytes(p.bytesIn),
                                                ValueFormat::formatBytes(p.bytesOut)});
        }
    }
    if (point.topDiskProcesses) {
        for (const DiskProcessSnapshot& p : *point.topDiskProcesses) {
            tooltip.diskProcesses.push_back({p.pid, p.name, ChartFormatters::formattedRead(p),
                                             ChartFormatters::formattedWrite(p)});
        }
    }
    if (point.topProcesses) {
        for (const ProcessSnapshot& p : *point.topProcesses) {
            tooltip.processes.push_back({p.pid, p.name, ValueFormat::formatPercent(p.cpu),
                                         ChartFormatters::formattedMemory(p)});
        }
    }
}

}  // namespace

std::optional<LineTooltip> lineTooltip(const std::vector<ChartSeries>& series,
                                       const std::vector<std::string>& labels,
                                       const std::vector<DashboardColor>& colors, Date date,
                                       const std::optional<SourceTimeZone>& zone, bool isLinked) {
    std::optional<LineTooltip> tooltip;
    const ChartPoint* withList = nullptr;
    const auto closest = findClosestData(series, date);
    for (size_t i = 0; i < series.size(); ++i) {
        if (!closest[i]) continue;
        const ChartPoint& point = series[i][*closest[i]];
        if (!tooltip) tooltip = LineTooltip{.time = ChartFormatters::time(point.date, zone)};
        tooltip->rows.push_back({i < labels.size() ? labels[i] : point.label,
                                 ChartFormatters::formatValue(point.value),
                                 i < colors.size() ? colors[i] : DashboardColor::primary});
        if (!withList && hasProcessList(point)) withList = &point;
    }
    if (!tooltip) return std::nullopt;
    tooltip->isLinked = isLinked;
    if (withList) addProcessLists(*withList, *tooltip);
    return tooltip;
}

}  // namespace ostrel
