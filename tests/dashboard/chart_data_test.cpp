// The chart data builder: reduction, process lists on surviving points, rankings and summary.
#include <gtest/gtest.h>

#include "dashboard/chart_data_builder.h"
#include "dashboard/dashboard_dates.h"
#include "dashboard/downsample.h"

namespace ostrel::testing {
namespace {

using namespace std::chrono_literals;

const Date kStart = Date(std::chrono::seconds(1795341600));  // 2026-11-22 10:00 UTC

ChartSeries series(const std::vector<double>& values) {
    ChartSeries points;
    for (size_t i = 0; i < values.size(); ++i) {
        points.push_back({.date = kStart + std::chrono::seconds(i), .value = values[i]});
    }
    return points;
}

std::vector<size_t> indicesOf(const ChartSeries& kept, const ChartSeries& all) {
    std::vector<size_t> indices;
    for (const ChartPoint& point : kept) {
        const auto found = std::find_if(all.begin(), all.end(),
                                        [&](const ChartPoint& p) { return p.id == point.id; });
        indices.push_back(static_cast<size_t>(found - all.begin()));
    }
    return indices;
}

ChartSample sampleAt(Date when) {
    ChartSample sample;
    sample.timestamp = "set by the test";
    sample.date = when;
    return sample;
}

TEST(DownsampleTest, BucketEdgesTiesAndTheTriangleRule) {
    const ChartSeries two = series(std::vector<double>(2000, 1.0));
    EXPECT_EQ(indicesOf(downsample(two, 2000), two).size(), 2000u);
    EXPECT_EQ(indicesOf(downsample(two, 2), two), (std::vector<size_t>{0, 1999}));
    EXPECT_EQ(downsample(two, 1).size(), 2000u);  // below 2: unchanged

    // 201 to 200: every = 199 / 198, so one bucket falls empty; first and last stay.
    const ChartSeries odd = series(std::vector<double>(201, 3.0));
    const auto kept = indicesOf(downsample(odd, 200), odd);
    EXPECT_LE(kept.size(), 200u);
    EXPECT_EQ(kept.front(), 0u);
    EXPECT_EQ(kept.back(), 200u);

    // A flat series: every area is 0, so each bucket yields its first point.
    const ChartSeries flat = series(std::vector<double>(10, 5.0));
    EXPECT_EQ(indicesOf(downsample(flat, 5), flat), (std::vector<size_t>{0, 1, 3, 6, 9}));

    // Worked by hand: bucket [1,3) against the mean of [3,6) picks 1 (area 17 over 2);
    // bucket [3,6) against the last point picks 5 (area 40 over 15 and 10).
    const ChartSeries shaped = series({0, 5, 1, 0, 0, 9, 0});
    EXPECT_EQ(indicesOf(downsample(shaped, 4), shaped), (std::vector<size_t>{0, 1, 5, 6}));
}

TEST(DownsampleTest, APeakInTheMiddleSurvivesAndLandsOnTheNearestSample) {
    std::vector<double> values(5000);
    for (size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<double>(i % 7);
    values[2617] = 1000;
    const ChartSeries reduced = downsample(series(values), 200);
    EXPECT_LE(reduced.size(), 200u);
    EXPECT_TRUE(std::any_of(reduced.begin(), reduced.end(),
                            [](const ChartPoint& p) { return p.value == 1000; }));

    const std::vector<double> times = {0, 10, 20};
    EXPECT_EQ(nearestIndex(times, 4), 0u);
    EXPECT_EQ(nearestIndex(times, 5), 1u);  // equally near: the later one
    EXPECT_EQ(nearestIndex(times, 99), 2u);
    EXPECT_EQ(nearestIndex(std::vector<double>{7}, 99), 0u);
}

TEST(ChartDataTest, SeriesSummaryAndAttachedProcessesFollowTheSamples) {
    std::vector<ChartSample> samples;
    // Only a user share: a point of cpuUser, none of cpuUsage. No CPU section elsewhere.
    ChartSample first = sampleAt(kStart);
    first.cpu = ChartSample::Cpu{.cpuCount = 4, .userPercent = 30, .thermalState = "fair"};
    first.memory = ChartSample::Memory{};  // counts as 0 GB used
    first.processes.topCPU =
        std::vector<CompactProcess>{{1, "a", 10, 1}, {2, "b", 9, 1}, {3, "c", 8, 1},
                                    {4, "d", 7, 1},  {5, "e", 6, 1}, {6, "f", 5, 1}};
    samples.push_back(first);

    ChartSample second = sampleAt(kStart + 2s);
    second.cpu = ChartSample::Cpu{
        .cpuCount = 4, .userPercent = 50, .systemPercent = 10, .thermalState = "Serious"};
    second.processes.topCPU = std::vector<CompactProcess>{{7, "x", 80, 0}, {8, "x", 20, 0}};
    samples.push_back(second);

    ChartSample third = sampleAt(kStart + 4s);
    third.cpu = ChartSample::Cpu{.userPercent = 1, .systemPercent = 1, .thermalState = "unknown"};
    third.memory = ChartSample::Memory{.activeMB = 2048, .wiredMB = 1024};
    samples.push_back(third);

    // Unparsable: adds to no series, but its rows count in the rankings.
    ChartSample broken = sampleAt(kStart);
    broken.date.reset();
    broken.processes.topCPU = std::vector<CompactProcess>{{9, "x", 40, 0}};
    samples.push_back(broken);

    ChartSample noCpu = sampleAt(kStart + 6s);
    noCpu.processes.topMemory = std::vector<CompactProcess>{{10, "z", 1, 300}};
    noCpu.memory = ChartSample::Memory{.activeMB = 1024};
    samples.push_back(noCpu);

    const ChartSamples source(std::move(samples));
    const CachedChartData data = buildChartData(sampleRefs(source), 2000);
    EXPECT_EQ(data.series.cpuUser.size(), 3u);
    ASSERT_EQ(data.series.cpuUsage.size(), 2u);
    EXPECT_EQ(data.series.cpuUsage[0].value, 60);
    EXPECT_EQ(data.series.cpuUsage[0].label, "CPU Usage");
    EXPECT_EQ(data.peakThermalState, "Serious");
    EXPECT_EQ(data.thermalWarningCount, 3);  // "fair", "Serious" and "unknown"
    EXPECT_DOUBLE_EQ(*data.avgMemoryUsedGB, (0 + 3 + 1) / 3.0);
    EXPECT_DOUBLE_EQ(*data.peakMemoryUsedGB, 3.0);
    EXPECT_EQ(data.peakMemoryPressure, "Unknown");

    // The first five rows of the nearest sample, with that sample's cores, or 8 without.
    const auto& firstTop = data.series.cpuUser[0].topProcesses;
    ASSERT_TRUE(firstTop);
    EXPECT_EQ(firstTop->size(), 5u);
    EXPECT_EQ((*firstTop)[0].cpuCores, 4);
    EXPECT_EQ(data.series.cpuUser[2].topProcesses, nullptr);  // the third sample has no list
    EXPECT_EQ(data.series.memoryActive.back().topProcesses->front().cpuCores, 8);

    // Two rows of one name in one sample count twice as rows, once as an event.
    const auto x = std::find_if(data.topCPU.begin(), data.topCPU.end(),
                                [](const auto& a) { return a.name == "x"; });
    ASSERT_NE(x, data.topCPU.end());
    EXPECT_EQ(x->sampleCount, 3);
    EXPECT_EQ(x->eventCount, 2);
    EXPECT_EQ(x->totalSamples, 5);
    EXPECT_DOUBLE_EQ(x->avgCPU, (80 + 20 + 40) / 3.0);
    EXPECT_EQ(data.topCPU.front().name, "x");  // ranked by mean CPU
}

TEST(ChartDataTest, TheSourceRangeNeedsBothEndsToParseAndReadsInTheSourceZone) {
    ChartSample only = sampleAt(kStart);
    only.timestamp = "2026-11-22T05:00:00.000-05:00";
    const CachedChartData single = buildSourceChartData(ChartSamples({only}), 2000);
    EXPECT_EQ(single.sampleCount, 1);
    EXPECT_EQ(single.timeRangeStartDate, single.timeRangeEndDate);
    const auto zone = extractTimezone(only.timestamp);
    ASSERT_TRUE(zone);
    EXPECT_EQ(zone->secondsFromGMT, -18000);
    EXPECT_EQ(formatTimeRange(kStart, kStart + 8h, zone), "Nov 22, 5:00 AM – Nov 22, 1:00 PM");
    EXPECT_EQ(extractTimezone("2026-11-22T10:00:00Z")->identifier, "UTC");
    EXPECT_FALSE(extractTimezone("2026-11-22T10:00:00"));

    ChartSample broken = only;
    broken.date.reset();
    const CachedChartData unparsed = buildSourceChartData(ChartSamples({broken, only}), 2000);
    EXPECT_FALSE(unparsed.timeRangeStartDate);
    EXPECT_EQ(unparsed.sampleCount, 2);
}

}  // namespace
}  // namespace ostrel::testing
