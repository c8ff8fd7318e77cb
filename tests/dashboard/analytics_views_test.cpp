#include <gtest/gtest.h>

#include "dashboard/analytics_tables.h"
#include "dashboard/process_selection.h"

namespace ostrel {
namespace {

using C = DashboardColor;

// A process listed in `present` of 100 samples.
ProcessAggregate process(std::string name, double avgCPU, int64_t present) {
    return {.name = std::move(name),
            .avgCPU = avgCPU,
            .peakCPU = avgCPU * 2,
            .avgMemoryMB = avgCPU * 100,
            .peakMemoryMB = avgCPU * 300,
            .sampleCount = present,
            .eventCount = present,
            .totalSamples = 100};
}

TEST(AnalyticsTables, TenRowsNormalisedWithTheirImpactAndTheEmptyTexts) {
    std::vector<ProcessAggregate> rows;
    for (int i = 0; i < 30; ++i)
        rows.push_back(process("p" + std::to_string(i), 30.0 - i, i * 3));
    const auto all = topCPUTable(rows, ProcessFilterMode::all, ProcessSortMode::usage, 4);
    ASSERT_EQ(all.rows.size(), 10u);
    EXPECT_EQ(all.rows[0], (ProcessTableRow{1, "p0", "7.50%", "15.00%", "0%", "Spike", C::green}));
    EXPECT_EQ(all.columns[2], (TableColumn{"Avg", C::primary, ProcessSortMode::usage, true}));
    EXPECT_EQ(all.chips[0], (FilterChip{"All", ProcessFilterMode::all, true, C::orange}));

    // p25 to p29 are in 75 % or more of the samples; the peak sort puts the largest first.
    const auto sustained =
        topCPUTable(rows, ProcessFilterMode::sustained, ProcessSortMode::peak, std::nullopt);
    ASSERT_EQ(sustained.rows.size(), 5u);
    EXPECT_EQ(sustained.rows.front().name, "p25");
    EXPECT_EQ(sustained.rows.front().peak, "10.00%");
    EXPECT_EQ(sustained.rows.front().impactColor, C::red);
    EXPECT_TRUE(sustained.columns[3].isActive);
    EXPECT_FALSE(sustained.columns[2].isActive);
    EXPECT_EQ(sustained.chips[1],
              (FilterChip{"Sustained", ProcessFilterMode::sustained, true, C::red}));
    EXPECT_FALSE(sustained.chips[0].isSelected);
    EXPECT_EQ(impactColor("Recurring"), C::orange);
    EXPECT_EQ(impactColor("other"), C::gray);

    const std::vector<ProcessAggregate> fewSpikes{process("a", 1, 1), process("b", 2, 90)};
    const auto memory =
        topMemoryTable(fewSpikes, ProcessFilterMode::recurring, ProcessSortMode::usage);
    EXPECT_EQ(memory.emptyText, "No Recurring processes");
    EXPECT_EQ(topMemoryTable(fewSpikes, ProcessFilterMode::all, ProcessSortMode::peak).rows[0].peak,
              "600 MB");
    EXPECT_EQ(topMemoryTable({}, ProcessFilterMode::all, ProcessSortMode::usage).emptyText,
              "No data");
}

TEST(AnalyticsTables, NetworkTableShortSizesAndFirstEightRows) {
    EXPECT_EQ(networkBytesText(1000ull << 20), "1.0G");
    EXPECT_EQ(networkBytesText(999ull << 20), "999.0M");
    EXPECT_EQ(topNetworkTable({}).emptyText, "No data");

    std::vector<ProcessNetworkInfo> processes;
    for (int i = 0; i < 9; ++i)
        processes.push_back({.pid = i, .name = "n", .bytesIn = 2 << 20, .bytesOut = 1 << 20});
    const auto table = topNetworkTable(processes);
    EXPECT_FALSE(table.emptyText);
    ASSERT_EQ(table.rows.size(), 8u);
    EXPECT_EQ(table.rows[7], (NetworkTableRow{8, "n", "2.0M", "1.0M", "3.0M"}));
}

TEST(ProcessSelection, BarPillAndTheSectionsCharts) {
    EXPECT_TRUE(processSelectionBar({}, std::nullopt).noneAvailable);
    const std::vector<std::string> patterns{"chrome", "Code", "node"};
    const auto bar = processSelectionBar(patterns, "node");
    EXPECT_EQ(bar.pillText, "node");
    EXPECT_EQ(bar.trackedCount, "3 pinned processes tracked");
    EXPECT_EQ(processSelectionBar(patterns, std::nullopt).pillText, "Select process");
    const auto popOver = processPillPopOver(patterns, "Code", "co");
    EXPECT_FALSE(popOver.showsSearchField);
    EXPECT_EQ(popOver.items, (std::vector<ProcessPillItem>{{"Code", true}}));
    EXPECT_EQ(popOver.clearText, "Clear Selection");
    const auto none = processPillPopOver(patterns, std::nullopt, "zz");
    EXPECT_EQ(none.emptyText, "No matches");
    EXPECT_FALSE(none.clearText);

    const Date start = Date(std::chrono::seconds(1795341600));
    ProcessSeries whole;
    EXPECT_FALSE(processAnalysisSection("node", whole, {}, start).isShown);
    whole.memory = {{.date = start, .value = 10}};
    const ChartSeries shownCPU{{.date = start}, {.date = start + std::chrono::minutes(5)}};
    auto section = processAnalysisSection("node", whole, shownCPU, start);
    EXPECT_TRUE(section.isShown);
    EXPECT_EQ(section.sampleCount, "2 samples");
    ASSERT_EQ(section.charts.size(), 2u);
    EXPECT_EQ(section.charts[1].helpText, "Memory usage of node over time.");
    whole.diskWrite = {{.date = start}};
    section = processAnalysisSection("node", whole, shownCPU, start);
    ASSERT_EQ(section.charts.size(), 4u);
    EXPECT_EQ(section.charts[2].identifier, "proc-net");
    EXPECT_FALSE(processAnalysisSection(std::nullopt, whole, shownCPU, start).isShown);
}

}  // namespace
}  // namespace ostrel
