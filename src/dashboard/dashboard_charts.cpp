#include "dashboard/dashboard_charts.h"

#include <fmt/format.h>

#include <algorithm>

#include "records/value_format.h"

namespace ostrel {
namespace {

using C = DashboardColor;

std::vector<ChartDefinition> makeCharts() {
    std::vector<ChartDefinition> charts;
    charts.push_back(
        {.title = "CPU Usage",
         .kind = ChartKind::cpuStacked,
         .series = {{&SystemSeries::cpuUser, "User", C::orange},
                    {&SystemSeries::cpuSystem, "System", C::red}},
         .yScale = YScale::fixed,
         .yDomain = {0, 100},
         .showArea = true,
         .identifier = "cpu",
         .helpText = "CPU Usage: Total CPU utilization (user + system). Always 0-100%."});
    charts.push_back({.title = "Memory (GB)",
                      .series = {{&SystemSeries::memoryActive, "Active", C::purple},
                                 {&SystemSeries::memoryWired, "Wired", C::orange},
                                 {&SystemSeries::memoryCompressed, "Compressed", C::blue}},
                      .yScale = YScale::zeroToTotalMemory,
                      .identifier = "memory",
                      .helpText = "Memory breakdown: Active, Wired, Compressed."});
    charts.push_back(
        {.title = "Thermal State",
         .kind = ChartKind::step,
         .series = {{&SystemSeries::thermalState, "Thermal State", C::red}},
         .lineColor = C::red,
         .yScale = YScale::fixed,
         .yDomain = {0, 4},
         .zones = {{0, 1, C::green, "Nominal"},
                   {1, 2, C::yellow, "Fair"},
                   {2, 3, C::orange, "Serious"},
                   {3, 4, C::red, "Critical"}},
         .identifier = "thermal",
         .helpText =
             "Thermal State: CPU throttling level. 0=Nominal, 1=Fair, 2=Serious, 3=Critical."});
    charts.push_back({.title = "Memory Pressure",
                      .kind = ChartKind::step,
                      .series = {{&SystemSeries::memoryPressure, "Memory Pressure", C::purple}},
                      .lineColor = C::purple,
                      .yScale = YScale::fixed,
                      .yDomain = {0, 5},
                      .zones = {{0, 1, C::green, "Normal"},
                                {1, 3, C::yellow, "Warning"},
                                {3, 5, C::red, "Critical"}},
                      .identifier = "pressure",
                      .helpText = "Memory Pressure: macOS memory health."});
    charts.push_back({.title = "Swap (MB)",
                      .kind = ChartKind::simple,
                      .series = {{&SystemSeries::swapUsed, "Swap", C::red}},
                      .lineColor = C::red,
                      .yScale = YScale::zeroToAtLeast,
                      .yDomain = {0, 1024},
                      .identifier = "swap",
                      .helpText = "Swap Usage: Memory paged to disk."});
    charts.push_back({.title = "Disk I/O (KB/s)",
                      .series = {{&SystemSeries::diskRead, "Read", C::green},
                                 {&SystemSeries::diskWrite, "Write", C::orange}},
                      .identifier = "disk",
                      .helpText = "Disk I/O: Read and write speeds in KB/s."});
    charts.push_back({.title = "Network (MB)",
                      .series = {{&SystemSeries::networkIn, "In", C::blue},
                                 {&SystemSeries::networkOut, "Out", C::cyan}},
                      .identifier = "network",
                      .helpText = "Network: Data sent and received across all interfaces."});
    charts.push_back({.title = "GPU (%)",
                      .series = {{&SystemSeries::gpuUtilization, "Utilization", C::green},
                                 {&SystemSeries::gpuRenderer, "Renderer", C::orange},
                                 {&SystemSeries::gpuTiler, "Tiler", C::cyan}},
                      .identifier = "gpu",
                      .helpText = "GPU Utilization: Graphics processor usage percentage."});
    charts.push_back({.title = "Battery",
                      .kind = ChartKind::simple,
                      .series = {{&SystemSeries::battery, "Battery", C::yellow}},
                      .lineColor = C::yellow,
                      .yScale = YScale::fixed,
                      .yDomain = {0, 100},
                      .showArea = true,
                      .unitLabel = "%",
                      .identifier = "battery",
                      .helpText = "Battery: Charge level over time."});
    return charts;
}

}  // namespace

const std::vector<ChartDefinition>& dashboardCharts() {
    static const std::vector<ChartDefinition> charts = makeCharts();
    return charts;
}

std::optional<ValueRange> yDomainFor(const ChartDefinition& chart, const SystemSeries& shown,
                                     std::optional<double> totalMemoryMB) {
    switch (chart.yScale) {
        case YScale::automatic:
            return std::nullopt;
        case YScale::fixed:
            return chart.yDomain;
        case YScale::zeroToTotalMemory:
            if (!totalMemoryMB) return std::nullopt;
            return ValueRange{0, *totalMemoryMB / 1024};
        case YScale::zeroToAtLeast: {
            double upper = chart.yDomain.upper;
            for (const ChartSeriesDefinition& one : chart.series) {
                for (const ChartPoint& point : shown.*one.series)
                    upper = std::max(upper, point.value);
            }
            return ValueRange{0, upper};
        }
    }
    return std::nullopt;
}

std::string chartSubtitle(const ChartDefinition& chart, const CachedChartData& cached) {
    const auto average = [](const std::optional<double>& value) {
        return value ? fmt::format("Avg {:.0f}%", *value) : std::string();
    };
    if (chart.identifier == "gpu") return average(cached.avgGpuUtilization);
    if (chart.identifier == "battery") return average(cached.avgBatteryPercent);
    if (chart.identifier == "swap" && cached.avgSwapUsedMB)
        return ValueFormat::formatMB(*cached.avgSwapUsedMB);
    return {};
}

}  // namespace ostrel
