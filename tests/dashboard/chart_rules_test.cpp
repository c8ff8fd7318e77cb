#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "dashboard/chart_formatters.h"
#include "dashboard/chart_zones.h"
#include "dashboard/cpu_tooltip.h"
#include "dashboard/dashboard_charts.h"
#include "dashboard/line_tooltip.h"
#include "dashboard/point_tooltip.h"
#include "records/value_format.h"

namespace ostrel {
namespace {

using C = DashboardColor;

// 2026-11-22 15:05:09 UTC.
const Date kMoment = Date(std::chrono::seconds(1795359909));
const SourceTimeZone kWest{-5 * 3600, "GMT-0500"};

const ChartDefinition& chart(const std::string& identifier) {
    for (const ChartDefinition& definition : dashboardCharts())
        if (definition.identifier == identifier) return definition;
    throw std::runtime_error("no chart " + identifier);
}

TEST(StepChartZones, BoundaryValuesTakeTheLowerLabelAndTheUpperColour) {
    const auto& thermal = chart("thermal").zones;
    EXPECT_EQ(StepChart::zoneLabel(thermal, 1), (ZoneLabel{"Nominal", C::green}));
    EXPECT_EQ(StepChart::pointColor(thermal, 1), C::yellow);
    EXPECT_EQ(StepChart::zoneLabel(thermal, 2.5), (ZoneLabel{"Serious", C::orange}));
    EXPECT_EQ(StepChart::pointColor(thermal, 2.5), C::orange);
    EXPECT_EQ(StepChart::pointColor(thermal, 4), C::red);
    EXPECT_EQ(StepChart::zoneLabel(thermal, 4.5), (ZoneLabel{"Unknown", C::gray}));
    EXPECT_EQ(StepChart::pointColor(thermal, -1), C::gray);
    EXPECT_EQ(StepChart::pointColor({}, 1), C::gray);

    const auto& pressure = chart("pressure").zones;
    EXPECT_EQ(StepChart::zoneLabel(pressure, 3), (ZoneLabel{"Warning", C::yellow}));
    EXPECT_EQ(StepChart::pointColor(pressure, 3), C::red);
}

TEST(PointTooltip, StepReadsTheZoneAndSimpleItsFormatterAndUnit) {
    const ChartSeries levels{{.date = kMoment, .value = 1},
                             {.date = kMoment + std::chrono::seconds(60), .value = 3.5}};
    EXPECT_EQ(stepTooltip(levels, chart("thermal").zones, kMoment + std::chrono::seconds(20), kWest,
                          true),
              (PointTooltip{"10:05:09 AM", "Nominal", C::green, true}));
    EXPECT_EQ(stepTooltip(levels, chart("thermal").zones, kMoment + std::chrono::seconds(50), kWest,
                          false)
                  ->value,
              "Critical");
    EXPECT_EQ(simpleTooltip(levels, C::yellow, {}, "%", kMoment, kWest, false),
              (PointTooltip{"10:05:09 AM", "1.0%", C::yellow, false}));
    EXPECT_EQ(
        simpleTooltip(levels, C::red, ValueFormat::formatMB, "", kMoment, kWest, false)->value,
        "1 MB");
    EXPECT_FALSE(stepTooltip({}, {}, kMoment, kWest, false));
}

TEST(ChartFormatters, SizesValuesAndDurationsChangeUnitAtTheirThresholds) {
    EXPECT_EQ(ValueFormat::formatMB(1023), "1023 MB");
    EXPECT_EQ(ValueFormat::formatMB(1024), "1.0 GB");
    EXPECT_EQ(ChartFormatters::formatValue(99.94), "99.9");
    EXPECT_EQ(ChartFormatters::formatValue(999.9), "1000");
    EXPECT_EQ(ChartFormatters::formatValue(1000), "1.0K");
    EXPECT_EQ(ValueFormat::formatBytes(1023), "1023 B");
    EXPECT_EQ(ValueFormat::formatBytes(1536), "1.5 KB");
    EXPECT_EQ(ValueFormat::formatBytes(3ull << 30), "3.0 GB");
    EXPECT_EQ(ValueFormat::formatRate(512.4), "512 B/s");
    EXPECT_EQ(ChartFormatters::formattedRead({.readBytesPerSec = 0}), "0 B/s");
    EXPECT_EQ(ChartFormatters::formattedRead({.readBytesPerSec = 0.4}), "0 B/s");
    EXPECT_EQ(ChartFormatters::formattedWrite({.writeBytesPerSec = 2.5 * 1048576}), "2.5 MB/s");
    EXPECT_EQ(ChartFormatters::formattedMemory({.memoryMB = 2048}), "2.0 GB");
    EXPECT_EQ(ChartFormatters::formatDuration(59.9), "59s");
    EXPECT_EQ(ChartFormatters::formatDuration(60), "1m 0s");
    EXPECT_EQ(ChartFormatters::formatDuration(3599), "59m 59s");
    EXPECT_EQ(ChartFormatters::formatDuration(3600), "1h 0m");
    EXPECT_EQ(ChartFormatters::pressureColor("Warning"), C::yellow);
    EXPECT_EQ(ChartFormatters::pressureColor("CRITICAL"), C::red);
    EXPECT_EQ(ChartFormatters::pressureColor("Unknown"), C::secondary);
}

TEST(ChartFormatters, DatesShowInTheSourcesZone) {
    EXPECT_EQ(ChartFormatters::time(kMoment, kWest), "10:05:09 AM");
    EXPECT_EQ(ChartFormatters::dateTime(kMoment, SourceTimeZone{0, "UTC"}), "Nov 22, 3:05:09 PM");
    EXPECT_EQ(ChartFormatters::time(kMoment + std::chrono::hours(9), kWest), "7:05:09 PM");
    EXPECT_EQ(ChartFormatters::time(kMoment - std::chrono::hours(3), kWest), "7:05:09 AM");
    EXPECT_EQ(ChartFormatters::dragLabel(kMoment + std::chrono::seconds(95), kMoment, kWest, true),
              (ChartFormatters::DragLabel{"10:06:44 AM", "10:05:09 AM", "1m 35s"}));
}

TEST(CPUTooltip, TotalsTheClosestPointsAndNormalisesProcessesByTheirCores) {
    const auto processes =
        std::make_shared<const std::vector<ProcessSnapshot>>(std::vector<ProcessSnapshot>{
            {.pid = 7, .name = "build", .cpu = 400, .memoryMB = 512, .cpuCores = 10}});
    const ChartSeries user{
        {.date = kMoment, .value = 30},
        {.date = kMoment + std::chrono::seconds(60), .value = 45, .topProcesses = processes}};
    const ChartSeries system{{.date = kMoment, .value = 20},
                             {.date = kMoment + std::chrono::seconds(60), .value = 35}};

    const auto raw =
        cpuTooltip(user, system, kMoment + std::chrono::seconds(29), false, kWest, false);
    ASSERT_TRUE(raw);
    EXPECT_EQ(raw->time, "10:05:09 AM");
    EXPECT_EQ(raw->total, "Total: 50.0%");
    EXPECT_EQ(raw->totalColor, C::yellow);  // 50 is yellow
    EXPECT_TRUE(raw->processes.empty());    // "No process data"

    const auto normalized =
        cpuTooltip(user, system, kMoment + std::chrono::seconds(31), true, kWest, true);
    EXPECT_EQ(normalized->total, "Total: 80.0%");
    EXPECT_EQ(normalized->totalColor, C::red);  // 80 is red
    EXPECT_TRUE(normalized->isLinked);
    EXPECT_EQ(normalized->processes,
              (std::vector<TooltipProcess>{{7, "build", "40.0%", "512 MB"}}));

    EXPECT_EQ(cpuTotalColor(49.9), C::green);
    EXPECT_FALSE(cpuTooltip({}, {}, kMoment, false, kWest, false));
}

TEST(LineTooltip, RowPerSeriesAndTheFirstAttachedProcessList) {
    const auto network = std::make_shared<const std::vector<NetworkProcessSnapshot>>(
        std::vector<NetworkProcessSnapshot>{
            {.pid = 3, .name = "sync", .bytesIn = 2048, .bytesOut = 10}});
    const std::vector<ChartSeries> series{
        {{.date = kMoment, .value = 1234}},
        {},
        {{.date = kMoment, .value = 150.4, .topNetworkProcesses = network}}};
    const auto tooltip = lineTooltip(series, {"In", "None", "Out"}, {C::blue, C::red, C::cyan},
                                     kMoment, kWest, false);
    ASSERT_TRUE(tooltip);
    EXPECT_EQ(tooltip->rows,
              (std::vector<LineTooltipRow>{{"In", "1.2K", C::blue}, {"Out", "150", C::cyan}}));
    EXPECT_EQ(tooltip->networkProcesses,
              (std::vector<NetworkTooltipProcess>{{3, "sync", "2.0 KB", "10 B"}}));
    EXPECT_TRUE(tooltip->processes.empty());
    EXPECT_FALSE(lineTooltip({{}, {}}, {}, {}, kMoment, kWest, false));
}

TEST(DashboardCharts, NineChartsWithTheirIdentifiersAndScales) {
    const auto& charts = dashboardCharts();
    std::vector<std::string> identifiers;
    for (const ChartDefinition& definition : charts) {
        identifiers.push_back(definition.identifier);
        EXPECT_FALSE(definition.helpText.empty()) << definition.identifier;
        for (const ChartSeriesDefinition& series : definition.series)
            EXPECT_TRUE(series.series);
    }
    EXPECT_EQ(identifiers, (std::vector<std::string>{"cpu", "memory", "thermal", "pressure", "swap",
                                                     "disk", "network", "gpu", "battery"}));
    EXPECT_EQ(chart("memory").title, "Memory (GB)");
    EXPECT_EQ(chart("network").series[1].label, "Out");
    EXPECT_EQ(chart("network").series[1].color, C::cyan);

    SystemSeries shown;
    EXPECT_EQ(yDomainFor(chart("cpu"), shown, 16384), (ValueRange{0, 100}));
    EXPECT_EQ(yDomainFor(chart("memory"), shown, 16384), (ValueRange{0, 16}));
    EXPECT_FALSE(yDomainFor(chart("memory"), shown, std::nullopt));
    EXPECT_FALSE(yDomainFor(chart("disk"), shown, 16384));
    EXPECT_EQ(yDomainFor(chart("swap"), shown, std::nullopt), (ValueRange{0, 1024}));
    shown.swapUsed = {{.value = 300}, {.value = 2100}};
    EXPECT_EQ(yDomainFor(chart("swap"), shown, std::nullopt), (ValueRange{0, 2100}));

    CachedChartData cached;
    EXPECT_EQ(chartSubtitle(chart("gpu"), cached), "");
    cached.avgGpuUtilization = 12.6;
    cached.avgSwapUsedMB = 2048;
    EXPECT_EQ(chartSubtitle(chart("gpu"), cached), "Avg 13%");
    EXPECT_EQ(chartSubtitle(chart("swap"), cached), "2.0 GB");
}

}  // namespace
}  // namespace ostrel
