#include "collectors/disk_collector.h"

#include <gtest/gtest.h>

#include "collectors/fake_sources.h"
#include "support/log_recorder.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

struct DiskCollectorTest : ::testing::Test {
    // The collector takes its baseline from `first` as it is made.
    void make(std::optional<DiskIOCounters> first) {
        source.counters = first;
        collector.emplace(source, clock);
    }
    DiskMetrics io(std::optional<DiskIOCounters> counters) {
        source.counters = counters;
        DiskMetrics metrics;
        collector->collectDiskIO(metrics, true);
        return metrics;
    }

    testing::LogRecorder log;
    testing::FakeDiskSource source;
    testing::VirtualClock clock;
    std::optional<DiskCollector> collector;
};

TEST_F(DiskCollectorTest, SpaceCountsAsDfDoesWithBlocksHeldBackForTheSuperuser) {
    make(DiskIOCounters{});
    const auto space = [&](DiskCapacity capacity) {
        source.space = capacity;
        DiskMetrics metrics;
        collector->collectDiskSpace(metrics);
        return metrics;
    };
    // 100 GB with 30 GB free, 5 GB of it held back: df shows 70 used, 25 available, 74 %.
    EXPECT_EQ(space({100'000'000'000, 30'000'000'000, 25'000'000'000}),
              (DiskMetrics{.totalGB = 100.0, .usedGB = 70.0, .freeGB = 25.0, .percentUsed = 74}));
    // Nothing held back: used is total minus available, the share is of the total.
    EXPECT_EQ(space({500'000'000'000, std::nullopt, 123'440'000'000}),
              (DiskMetrics{.totalGB = 500.0, .usedGB = 376.6, .freeGB = 123.4, .percentUsed = 75}));
    EXPECT_EQ(space({0, std::nullopt, 1'000'000'000}).percentUsed, 0);
    EXPECT_EQ(space({1'000'000'000, std::nullopt, std::nullopt}), (DiskMetrics{.totalGB = 1.0}));
}

TEST_F(DiskCollectorTest, RatesDivideByTheMeasuredTimeWithFourKibibyteTransfers) {
    make(DiskIOCounters{1000, 5000});
    clock.advance(2s);
    EXPECT_EQ(io(DiskIOCounters{1000 + 1048576, 5000}),
              (DiskMetrics{.readKBPerSec = 512.0, .writeKBPerSec = 0.0, .transfersPerSec = 128.0}));
    // A late timer: 3 seconds pass, not the 2 of the interval.
    clock.advance(3s);
    EXPECT_EQ(io(DiskIOCounters{1000 + 1048576, 5000 + 3 * 1024 * 10}).writeKBPerSec, 10.0);
}

TEST_F(DiskCollectorTest, ReadsTheDevicesAtMostOncePerCacheSpan) {
    make(DiskIOCounters{});
    clock.advance(1s);
    io(DiskIOCounters{});
    clock.advance(400ms);
    io(DiskIOCounters{});
    EXPECT_EQ(source.counterReads, 1);
    clock.advance(100ms);  // 1.5 s after the reading: stale
    io(DiskIOCounters{});
    EXPECT_EQ(source.counterReads, 2);
}

TEST_F(DiskCollectorTest, WithoutBaselineTimeOrGrowthNoRatesButTheBaselineMoves) {
    make(std::nullopt);
    EXPECT_EQ(log.matching("Failed to seed disk I/O stats").size(), 1u);
    EXPECT_EQ(io(DiskIOCounters{10'000, 10'000}), DiskMetrics{});  // the first sets the baseline
    EXPECT_EQ(io(DiskIOCounters{10'000, 10'000}), DiskMetrics{});  // no time has passed

    clock.advance(2s);
    EXPECT_EQ(io(DiskIOCounters{5'000, 20'000}), DiskMetrics{});
    EXPECT_EQ(log.matching("Disk read counter wrapped, skipping sample").size(), 1u);
    clock.advance(2s);
    EXPECT_EQ(io(DiskIOCounters{6'000, 10'000}), DiskMetrics{});
    EXPECT_EQ(log.matching("Disk write counter wrapped, skipping sample").size(), 1u);

    // A failed reading is not kept and moves nothing: the next one measures from the last
    // baseline, 2 s back.
    clock.advance(2s);
    EXPECT_EQ(io(std::nullopt), DiskMetrics{});
    EXPECT_EQ(io(DiskIOCounters{6'000 + 2048, 10'000}).readKBPerSec, 1.0);
}

}  // namespace
}  // namespace ostrel
