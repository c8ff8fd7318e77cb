#include "collectors/cpu_collector.h"

#include <gtest/gtest.h>

#include "collectors/fake_sources.h"
#include "support/log_recorder.h"

namespace ostrel {
namespace {

using testing::FakeCpuSource;

CpuTicks ticks(uint64_t user, uint64_t system, uint64_t idle, uint64_t nice = 0) {
    return {.user = user, .system = system, .idle = idle, .nice = nice};
}

CPUMetrics usage(CPUCollector& collector, bool updateBaseline = true) {
    CPUMetrics metrics;
    collector.collectUsagePercentages(metrics, updateBaseline);
    return metrics;
}

TEST(CPUCollectorUsage, SharesOfTheTicksSinceTheBaselineInTenthsOfAPercent) {
    FakeCpuSource source;
    source.ticks = ticks(100, 100, 100, 100);
    CPUCollector collector(source);
    collector.seed();

    source.ticks = ticks(110, 110, 180, 100);
    const CPUMetrics even = usage(collector);
    EXPECT_EQ(even.userPercent, 10.0);
    EXPECT_EQ(even.systemPercent, 10.0);
    EXPECT_EQ(even.idlePercent, 80.0);

    // 1 of 16 ticks is 6.25%: halves round away from zero. The nice tick counts in the total
    // only.
    source.ticks = ticks(111, 110, 194, 101);
    const CPUMetrics halves = usage(collector);
    EXPECT_EQ(halves.userPercent, 6.3);
    EXPECT_EQ(halves.systemPercent, 0.0);
    EXPECT_EQ(halves.idlePercent, 87.5);

    source.ticks = ticks(112, 110, 209, 101);
    const CPUMetrics sixteenths = usage(collector);
    EXPECT_EQ(sixteenths.userPercent, 6.3);
    EXPECT_EQ(sixteenths.idlePercent, 93.8);
}

TEST(CPUCollectorUsage, FailedSeedGivesNoSharesUntilASampleSetsTheBaseline) {
    testing::LogRecorder log;
    FakeCpuSource source;
    source.ticks = tl::unexpected(ReadError::permission);
    CPUCollector collector(source);
    collector.seed();
    EXPECT_EQ(log.matching("Failed to seed CPU ticks: kern result permission denied").size(), 1u);

    source.ticks = ticks(10, 10, 80);
    CPUMetrics first;
    first.cpuCount = 8;
    collector.collectLoadAverages(first);
    collector.collectUsagePercentages(first, true);
    EXPECT_FALSE(first.userPercent);
    EXPECT_EQ(first.loadAverage1m, 1.0);

    source.ticks = ticks(20, 20, 160);
    EXPECT_EQ(usage(collector).userPercent, 10.0);
}

TEST(CPUCollectorUsage, ReadFailureLeavesSharesAbsentAndTheBaselineInPlace) {
    testing::LogRecorder log;
    FakeCpuSource source;
    source.ticks = ticks(0, 0, 0);
    CPUCollector collector(source);
    collector.seed();

    source.ticks = tl::unexpected(ReadError::parse);
    EXPECT_FALSE(usage(collector).userPercent);
    EXPECT_EQ(log.matching("host_statistics failed: malformed data").size(), 1u);

    source.ticks = ticks(50, 0, 50);
    EXPECT_EQ(usage(collector).userPercent, 50.0);
}

TEST(CPUCollectorUsage, IdenticalTicksGiveNoSharesButStillMoveTheBaseline) {
    FakeCpuSource source;
    source.ticks = ticks(5, 5, 5);
    CPUCollector collector(source);
    collector.seed();

    source.ticks = ticks(10, 10, 80);
    usage(collector);
    const CPUMetrics same = usage(collector);
    EXPECT_FALSE(same.userPercent);
    EXPECT_FALSE(same.systemPercent);
    EXPECT_FALSE(same.idlePercent);

    source.ticks = ticks(20, 20, 160);
    EXPECT_EQ(usage(collector).idlePercent, 80.0);
}

TEST(CPUCollectorUsage, CounterGoingBackwardsSkipsTheSampleAndRebaselines) {
    testing::LogRecorder log;
    FakeCpuSource source;
    source.ticks = ticks(100, 100, 1000);
    CPUCollector collector(source);
    collector.seed();

    // The kernel lets idle (iowait) ticks decrease.
    source.ticks = ticks(110, 110, 990);
    EXPECT_FALSE(usage(collector).userPercent);
    EXPECT_EQ(log.matching("CPU tick counter went backwards").size(), 1u);

    source.ticks = ticks(120, 120, 1070);
    EXPECT_EQ(usage(collector).userPercent, 10.0);
}

TEST(CPUCollectorUsage, InterfaceSamplesMeasureFromTheStoredBaselineWithoutMovingIt) {
    FakeCpuSource source;
    source.ticks = ticks(0, 0, 0);
    CPUCollector collector(source);
    collector.seed();

    source.ticks = ticks(10, 0, 90);
    EXPECT_EQ(usage(collector, false).userPercent, 10.0);
    source.ticks = ticks(30, 0, 170);
    EXPECT_EQ(usage(collector, false).userPercent, 15.0);
    source.ticks = ticks(50, 0, 150);
    EXPECT_EQ(usage(collector, true).userPercent, 25.0);
    source.ticks = ticks(60, 0, 240);
    EXPECT_EQ(usage(collector, true).userPercent, 10.0);
}

TEST(CPUCollectorLoad, RoundsAveragesAndTakesTheShareFromTheRawValue) {
    testing::LogRecorder log;
    FakeCpuSource source;
    source.loads = LoadAverages{12.345, 0.005, 2};
    CPUCollector collector(source);

    CPUMetrics metrics;
    metrics.cpuCount = 8;
    collector.collectLoadAverages(metrics);
    EXPECT_EQ(metrics.loadAverage1m, 12.35);
    EXPECT_EQ(metrics.loadAverage5m, 0.01);
    EXPECT_EQ(metrics.loadAverage15m, 2.0);
    EXPECT_EQ(metrics.loadPercent, 154.3);

    // Without a processor count the share stays 0 rather than dividing by it.
    CPUMetrics noCount;
    collector.collectLoadAverages(noCount);
    EXPECT_EQ(noCount.loadPercent, 0);

    source.loads.reset();
    CPUMetrics failed;
    failed.cpuCount = 8;
    collector.collectLoadAverages(failed);
    EXPECT_EQ(failed.loadAverage1m, 0);
    EXPECT_EQ(failed.loadPercent, 0);
    ASSERT_EQ(log.matching("getloadavg failed").size(), 1u);
    EXPECT_EQ(log.entries().back().level, Logger::Level::debug);
}

TEST(CPUCollectorThermal, MapsTheFourStatesAndAnythingElseToUnknown) {
    FakeCpuSource source;
    CPUCollector collector(source);
    const auto state = [&](std::optional<int> raw) {
        source.thermal = raw;
        CPUMetrics metrics;
        collector.collectThermalState(metrics);
        return std::tuple(*metrics.thermalState, *metrics.thermalLevel, *metrics.thermalThrottle);
    };
    EXPECT_EQ(state(0), std::tuple("nominal", 0, false));
    EXPECT_EQ(state(1), std::tuple("fair", 1, true));
    EXPECT_EQ(state(2), std::tuple("serious", 2, true));
    EXPECT_EQ(state(3), std::tuple("critical", 3, true));
    EXPECT_EQ(state(7), std::tuple("unknown", -1, false));
    EXPECT_EQ(state(-2), std::tuple("unknown", -1, false));
    EXPECT_EQ(state(std::nullopt), std::tuple("unknown", -1, false));
}

}  // namespace
}  // namespace ostrel
