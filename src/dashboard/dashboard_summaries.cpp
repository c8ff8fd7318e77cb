#include "dashboard/dashboard_summaries.h"

#include <fmt/format.h>

#include "dashboard/chart_formatters.h"
#include "records/value_format.h"

namespace ostrel {
namespace {

using C = DashboardColor;

// An absent figure shows as a dash rather than as a made-up zero.
constexpr const char* kNoValue = "--";

std::string formatted(const std::optional<double>& value, const char* format) {
    return value ? fmt::format(fmt::runtime(format), *value) : kNoValue;
}

DashboardColor cpuUsageColor(const std::optional<double>& average) {
    if (!average || *average <= 50) return C::green;
    return *average <= 80 ? C::yellow : C::red;
}

DashboardColor eventColor(int64_t count) {
    return count > 0 ? C::orange : C::secondary;
}

}  // namespace

std::vector<double> sparklineOf(const ChartSeries& series) {
    constexpr size_t kShown = 60;
    const size_t first = series.size() > kShown ? series.size() - kShown : 0;
    std::vector<double> values;
    values.reserve(series.size() - first);
    for (size_t i = first; i < series.size(); ++i)
        values.push_back(series[i].value);
    return values;
}

std::array<HeroStat, 3> heroStats(const DashboardFigures& figures) {
    const auto peakCpu =
        figures.peakCpuUsage ? std::optional<double>(figures.peakCpuUsage->first) : std::nullopt;
    const std::string swap =
        figures.avgSwapUsedMB ? ValueFormat::formatMB(*figures.avgSwapUsedMB) : kNoValue;
    return {{
        {"CPU Usage", formatted(figures.avgCpuUsage, "{:.0f}%"), cpuUsageColor(figures.avgCpuUsage),
         sparklineOf(figures.cpuUsage), "Peak " + formatted(peakCpu, "{:.1f}%"),
         "CPU Usage: Average utilization over the selected period."},
        {"Memory", formatted(figures.avgMemoryUsedGB, "{:.1f} GB"), C::purple,
         sparklineOf(figures.memoryUsed), "Avg " + formatted(figures.peakMemoryUsedGB, "{:.1f} GB"),
         "Memory: Average used memory (Active + Wired + Compressed) over the selected period."},
        {"Memory Pressure", figures.peakMemoryPressure,
         ChartFormatters::pressureColor(figures.peakMemoryPressure),
         sparklineOf(figures.memoryPressure), "Peak: " + swap,
         "Memory Pressure: Peak pressure level over the selected period. Normal = OK, Warning = "
         "compression, Critical = swapping."},
    }};
}

std::array<SummaryStatCard, 4> summaryCards(const DashboardFigures& figures) {
    SummaryValue peakCpu{"Peak", kNoValue, C::secondary};
    if (figures.peakCpuUsage) {
        const auto& [value, date] = *figures.peakCpuUsage;
        peakCpu = {"Peak @ " + ChartFormatters::time(date, figures.sourceTimezone),
                   ValueFormat::formatPercent(value), cpuUsageColor(value)};
    }
    const auto bytes = [](int64_t count) { return ValueFormat::formatBytes(uint64_t(count)); };
    return {{
        {"cpu",
         C::green,
         "CPU",
         {"Avg", formatted(figures.avgCpuUsage, "{:.1f}%"), cpuUsageColor(figures.avgCpuUsage)},
         peakCpu,
         std::nullopt},
        {"memorychip",
         C::purple,
         "Memory",
         {"Avg", formatted(figures.avgMemoryUsedGB, "{:.1f} GB"), C::purple},
         {"Peak", formatted(figures.peakMemoryUsedGB, "{:.1f} GB"), C::purple},
         std::nullopt},
        {"exclamationmark.triangle",
         C::orange,
         "Events",
         {"Thermal", fmt::format("{}", figures.thermalWarningCount),
          eventColor(figures.thermalWarningCount)},
         {"Pressure", fmt::format("{}", figures.memoryPressureEventCount),
          eventColor(figures.memoryPressureEventCount)},
         std::nullopt},
        {"network",
         C::blue,
         "Network",
         {"In", bytes(figures.totalNetworkBytesIn), C::blue},
         {"Out", bytes(figures.totalNetworkBytesOut), C::cyan},
         std::nullopt},
    }};
}

std::optional<TopConsumerCard> topConsumerCard(const DashboardFigures& figures) {
    if (!figures.topCpuConsumer) return std::nullopt;
    const ProcessAggregate& top = *figures.topCpuConsumer;
    return TopConsumerCard{.name = top.name,
                           .cpu = ValueFormat::formatPercent(top.avgCPU),
                           .memory = ValueFormat::formatMB(top.avgMemoryMB)};
}

}  // namespace ostrel
