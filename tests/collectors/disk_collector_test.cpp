#include "collectors/disk_collector.h"

#include <gtest/gtest.h>

#include "collectors/fake_sources.h"
#include "support/log_recorder.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using testing::FakeDiskSource;
using testing::VirtualClock;

DiskMetrics io(DiskCollector& collector, bool updateBaseline = true) {
    DiskMetrics metrics;
    collector.collectDiskIO(metrics, updateBaseline);
    return metrics;
}

TEST(DiskCollectorSpace, RoundsGigabytesAndTakesThePercentageFromUnroundedUse) {
    FakeDiskSource source;
    VirtualClock clock;
    DiskCollector collector(source, clock);

    source.space = {.totalBytes = 500'000'000'000, .availableBytes = 123'450'000'000};
    DiskMetrics metrics;
    collector.collectDiskSpace(metrics);
    EXPECT_EQ(metrics.totalGB, 500.0);
    EXPECT_EQ(metrics.freeGB, 123.5);
    EXPECT_EQ(metrics.usedGB, 376.5);
    EXPECT_EQ(metrics.percentUsed, 75);

    source.space = {.totalBytes = 0, .availableBytes = 1'000'000'000};
    DiskMetrics empty;
    collector.collectDiskSpace(empty);
    EXPECT_EQ(empty.percentUsed, 0);

    source.space = {.totalBytes = 1'000'000'000};
    DiskMetrics partial;
    collector.collectDiskSpace(partial);
    EXPECT_EQ(partial.totalGB, 1.0);
    EXPECT_FALSE(partial.freeGB);
    EXPECT_FALSE(partial.usedGB);
    EXPECT_FALSE(partial.percentUsed);
}

TEST(DiskCollectorIO, RatesDivideByTheMeasuredTimeWithFourKibibyteTransfers) {
    FakeDiskSource source;
    VirtualClock clock;
    source.counters = DiskIOCounters{1000, 5000};
    DiskCollector collector(source, clock);

    clock.advance(2s);
    source.counters = DiskIOCounters{1000 + 1048576, 5000};
    const DiskMetrics metrics = io(collector);
    EXPECT_EQ(metrics.readKBPerSec, 512.0);
    EXPECT_EQ(metrics.writeKBPerSec, 0.0);
    EXPECT_EQ(metrics.transfersPerSec, 128.0);

    // A late timer: 3 seconds pass, not the 2 of the interval.
    clock.advance(3s);
    source.counters = DiskIOCounters{1000 + 1048576, 5000 + 3 * 1024 * 10};
    EXPECT_EQ(io(collector).writeKBPerSec, 10.0);
}

TEST(DiskCollectorIO, ReadsTheDevicesAtMostOncePerCacheSpan) {
    FakeDiskSource source;
    VirtualClock clock;
    DiskCollector collector(source, clock);
    ASSERT_EQ(source.counterReads, 1);

    clock.advance(1s);
    io(collector);
    clock.advance(400ms);
    io(collector);
    EXPECT_EQ(source.counterReads, 1);

    clock.advance(100ms);  // 1.5 s after the reading: stale
    io(collector);
    EXPECT_EQ(source.counterReads, 2);
}

TEST(DiskCollectorIO, CounterBelowItsBaselineSkipsTheSampleAndRebaselines) {
    testing::LogRecorder log;
    FakeDiskSource source;
    VirtualClock clock;
    source.counters = DiskIOCounters{10'000, 10'000};
    DiskCollector collector(source, clock);

    clock.advance(2s);
    source.counters = DiskIOCounters{5'000, 20'000};
    EXPECT_FALSE(io(collector).readKBPerSec);
    EXPECT_EQ(log.matching("Disk read counter wrapped, skipping sample").size(), 1u);

    clock.advance(2s);
    source.counters = DiskIOCounters{6'000, 10'000};
    EXPECT_FALSE(io(collector).writeKBPerSec);
    EXPECT_EQ(log.matching("Disk write counter wrapped, skipping sample").size(), 1u);

    clock.advance(2s);
    source.counters = DiskIOCounters{6'000 + 2048, 10'000};
    EXPECT_EQ(io(collector).readKBPerSec, 1.0);
}

TEST(DiskCollectorIO, WithoutReadingsOrElapsedTimeNoRatesAreGiven) {
    testing::LogRecorder log;
    FakeDiskSource source;
    VirtualClock clock;
    source.counters.reset();
    DiskCollector collector(source, clock);
    EXPECT_EQ(log.matching("Failed to seed disk I/O stats").size(), 1u);

    // The first reading only sets the baseline.
    source.counters = DiskIOCounters{0, 0};
    EXPECT_FALSE(io(collector).readKBPerSec);
    // The same instant again: no time has passed.
    EXPECT_FALSE(io(collector).readKBPerSec);

    clock.advance(2s);
    source.counters.reset();
    EXPECT_EQ(io(collector), DiskMetrics{});
    source.counters = DiskIOCounters{2048, 0};
    EXPECT_EQ(io(collector).readKBPerSec, 1.0);  // still over the 2 s since the baseline
}

}  // namespace
}  // namespace ostrel
