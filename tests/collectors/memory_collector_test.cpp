#include "collectors/memory_collector.h"

#include <gtest/gtest.h>

#include "collectors/fake_sources.h"
#include "support/log_recorder.h"

namespace ostrel {
namespace {

constexpr uint64_t MiB = 1024 * 1024;

TEST(MemoryCollector, ConvertsToMebibytesRoundingEveryFigureButTheTotal) {
    testing::FakeMemorySource source;
    source.snapshot.totalBytes = 16 * 1024 * MiB + 333 * 1024;
    source.snapshot.pressureLevel = 1;
    source.snapshot.vmStats = VmStats{.freeBytes = MiB * 5 / 4,  // 1.25 rounds up to 1.3
                                      .inactiveBytes = MiB * 3 / 4,
                                      .wiredBytes = 0,
                                      .pageIns = 11};
    source.snapshot.swap = SwapUsage{2048 * MiB, MiB / 4, 2048 * MiB - MiB / 4};
    MemoryCollector collector(source);

    const MemoryMetrics metrics = collector.collect();
    EXPECT_DOUBLE_EQ(*metrics.totalMB, 16384 + 333.0 / 1024);
    EXPECT_EQ(std::tuple(metrics.freeMB, metrics.inactiveMB, metrics.wiredMB),
              std::tuple(1.3, 0.8, 0.0));
    EXPECT_FALSE(metrics.activeMB);  // not reported, not zero
    EXPECT_EQ(metrics.pageIns, 11);
    EXPECT_EQ(std::tuple(metrics.swapTotalMB, metrics.swapUsedMB, metrics.swapFreeMB),
              std::tuple(2048.0, 0.3, 2047.8));
}

TEST(MemoryCollector, PressureNamesOnlyTwoAndFourKeepingTheRawLevel) {
    testing::FakeMemorySource source;
    MemoryCollector collector(source);
    const auto pressure = [&](int64_t level) {
        source.snapshot.pressureLevel = level;
        const MemoryMetrics metrics = collector.collect();
        EXPECT_EQ(metrics.pressureLevel, level);
        return *metrics.pressureString;
    };
    EXPECT_EQ(pressure(1), "normal");
    EXPECT_EQ(pressure(2), "warning");
    EXPECT_EQ(pressure(3), "normal");
    EXPECT_EQ(pressure(4), "critical");
    EXPECT_EQ(pressure(0), "normal");
}

TEST(MemoryCollector, EachMissingSourceLeavesOnlyItsOwnFieldsOutAndSaysSo) {
    testing::LogRecorder log;
    testing::FakeMemorySource source;
    source.snapshot.vmStats = tl::unexpected(ReadError::notFound);
    source.snapshot.swap = SwapUsage{MiB, 0, MiB};
    MemoryCollector collector(source);

    const MemoryMetrics metrics = collector.collect();
    EXPECT_FALSE(metrics.totalMB);
    EXPECT_FALSE(metrics.pressureLevel);
    EXPECT_FALSE(metrics.pressureString);
    EXPECT_FALSE(metrics.freeMB);
    EXPECT_FALSE(metrics.pageIns);
    EXPECT_EQ(metrics.swapTotalMB, 1.0);

    const auto entries = log.entries();
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].message, "Failed to get hw.memsize");
    EXPECT_EQ(entries[0].level, Logger::Level::debug);
    EXPECT_EQ(entries[1].message, "Failed to get memory pressure level");
    EXPECT_EQ(entries[2].message, "host_statistics64 failed: not found");
    EXPECT_EQ(entries[2].level, Logger::Level::warning);
    EXPECT_EQ(entries[2].category, Logger::Category::collection);

    log.clear();
    source.snapshot.swap.reset();
    source.snapshot.vmStats = VmStats{.pageIns = 5};
    const MemoryMetrics partial = collector.collect();
    EXPECT_EQ(partial.pageIns, 5);
    EXPECT_FALSE(partial.freeMB);
    EXPECT_FALSE(partial.swapTotalMB);
    EXPECT_EQ(log.matching("Failed to get swap usage").size(), 1u);
}

}  // namespace
}  // namespace ostrel
