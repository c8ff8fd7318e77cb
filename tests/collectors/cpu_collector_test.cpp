#include "collectors/cpu_collector.h"

#include <gtest/gtest.h>

#include "collectors/fake_sources.h"
#include "support/log_recorder.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

struct CPUCollectorTest : ::testing::Test {
    // Sets the next reading and takes a storage sample's shares `after` the previous one.
    std::tuple<std::optional<double>, std::optional<double>, std::optional<double>> shares(
        uint64_t user, uint64_t system, uint64_t idle, uint64_t nice = 0, Duration after = 2s) {
        clock.advance(after);
        source.ticks = CpuTicks{.user = user, .system = system, .idle = idle, .nice = nice};
        CPUMetrics metrics;
        collector.collectUsagePercentages(metrics, true);
        return {metrics.userPercent, metrics.systemPercent, metrics.idlePercent};
    }
    static constexpr std::tuple<std::nullopt_t, std::nullopt_t, std::nullopt_t> none{
        std::nullopt, std::nullopt, std::nullopt};

    testing::LogRecorder log;
    testing::FakeCpuSource source;
    testing::VirtualClock clock;
    CPUCollector collector{source, clock};
};

TEST_F(CPUCollectorTest, SharesOfTheTicksSinceTheBaselineInTenthsOfAPercent) {
    collector.seed();  // all zero
    EXPECT_EQ(shares(10, 10, 80), std::tuple(10.0, 10.0, 80.0));
    // 1 of 16 ticks is 6.25%: halves round away from zero. Nice ticks count in the total only.
    EXPECT_EQ(shares(11, 10, 94, 1), std::tuple(6.3, 0.0, 87.5));
}

TEST_F(CPUCollectorTest, AWindowOfAFewMillisecondsGivesNoSharesAndKeepsTheBaseline) {
    collector.seed();
    // One tick of system time in the moment after launch would read as 100 % system.
    EXPECT_EQ(shares(0, 1, 0, 0, 5ms), none);
    EXPECT_EQ(shares(0, 2, 0, 0, 240ms), none);
    // The next sample measures from the seed, over the whole quarter second.
    EXPECT_EQ(shares(2, 2, 21, 0, 5ms), std::tuple(8.0, 8.0, 84.0));
}

TEST_F(CPUCollectorTest, WithoutABaselineOrWithoutTicksNoSharesAreGivenButTheBaselineMoves) {
    source.ticks = tl::unexpected(ReadError::permission);
    collector.seed();
    EXPECT_EQ(log.matching("Failed to seed CPU ticks: kern result permission denied").size(), 1u);
    EXPECT_EQ(shares(10, 10, 80), none);
    EXPECT_EQ(shares(10, 10, 80), none);  // identical ticks: a total of 0
    EXPECT_EQ(shares(20, 20, 160), std::tuple(10.0, 10.0, 80.0));

    // A failed read changes nothing, not even the baseline.
    source.ticks = tl::unexpected(ReadError::parse);
    CPUMetrics failed;
    collector.collectUsagePercentages(failed, true);
    EXPECT_FALSE(failed.userPercent);
    EXPECT_EQ(log.matching("host_statistics failed: malformed data").size(), 1u);
    EXPECT_EQ(shares(30, 30, 240), std::tuple(10.0, 10.0, 80.0));
}

TEST_F(CPUCollectorTest, CounterGoingBackwardsSkipsTheSampleAndRebaselines) {
    source.ticks = CpuTicks{.user = 100, .system = 100, .idle = 1000};
    collector.seed();
    // The kernel lets idle (iowait) ticks decrease.
    EXPECT_EQ(shares(110, 110, 990), none);
    EXPECT_EQ(log.matching("CPU tick counter went backwards").size(), 1u);
    EXPECT_EQ(shares(120, 120, 1070), std::tuple(10.0, 10.0, 80.0));
}

TEST_F(CPUCollectorTest, LoadAveragesRoundAndTheShareComesFromTheRawValue) {
    source.loads = LoadAverages{12.345, 0.005, 2};
    CPUMetrics metrics;
    metrics.cpuCount = 8;
    collector.collectLoadAverages(metrics);
    EXPECT_EQ(std::tuple(metrics.loadAverage1m, metrics.loadAverage5m, metrics.loadAverage15m),
              std::tuple(12.35, 0.01, 2.0));
    EXPECT_EQ(metrics.loadPercent, 154.3);

    // Without a processor count the share stays 0 rather than dividing by it.
    CPUMetrics noCount;
    collector.collectLoadAverages(noCount);
    EXPECT_EQ(noCount.loadPercent, 0);

    source.loads.reset();
    CPUMetrics failed;
    failed.cpuCount = 8;
    collector.collectLoadAverages(failed);
    EXPECT_EQ(std::tuple(failed.loadAverage1m, failed.loadPercent), std::tuple(0.0, 0.0));
    ASSERT_EQ(log.matching("getloadavg failed").size(), 1u);
    EXPECT_EQ(log.entries().back().level, Logger::Level::debug);
}

TEST_F(CPUCollectorTest, ThermalStatesOutsideTheFourReadUnknown) {
    const auto state = [&](std::optional<int> raw) {
        source.thermal = raw;
        CPUMetrics metrics;
        collector.collectThermalState(metrics);
        return std::tuple(*metrics.thermalState, *metrics.thermalLevel, *metrics.thermalThrottle);
    };
    EXPECT_EQ(state(0), std::tuple("nominal", 0, false));
    EXPECT_EQ(state(1), std::tuple("fair", 1, true));
    EXPECT_EQ(state(3), std::tuple("critical", 3, true));
    EXPECT_EQ(state(7), std::tuple("unknown", -1, false));
    EXPECT_EQ(state(std::nullopt), std::tuple("unknown", -1, false));
}

}  // namespace
}  // namespace ostrel
