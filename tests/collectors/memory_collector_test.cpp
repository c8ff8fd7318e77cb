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

    // An unreported figure (active) stays absent, not zero.
    EXPECT_EQ(collector.collect(), (MemoryMetrics{.totalMB = 16384 + 333.0 / 1024,
                                                  .freeMB = 1.3,
                                                  .inactiveMB = 0.8,
                                                  .wiredMB = 0.0,
                                                  .pressureLevel = 1,
                                                  .pressureString = "normal",
                                                  .pageIns = 11,
                                                  .swapTotalMB = 2048.0,
                                                  .swapUsedMB = 0.3,
                                                  .swapFreeMB = 2047.8}));

    // Only 2 and 4 have names of their own; the raw level is kept.
    for (const auto& [level, name] : std::vector<std::pair<int64_t, std::string>>{
             {2, "warning"}, {3, "normal"}, {4, "critical"}, {0, "normal"}}) {
        source.snapshot.pressureLevel = level;
        const MemoryMetrics metrics = collector.collect();
        EXPECT_EQ(std::tuple(metrics.pressureLevel, metrics.pressureString),
                  std::tuple(level, name));
    }
}

TEST(MemoryCollector, EachMissingSourceLeavesOnlyItsOwnFieldsOutAndSaysSo) {
    testing::LogRecorder log;
    testing::FakeMemorySource source;
    source.snapshot.vmStats = tl::unexpected(ReadError::notFound);
    source.snapshot.swap = SwapUsage{MiB, 0, MiB};
    MemoryCollector collector(source);

    EXPECT_EQ(collector.collect(),
              (MemoryMetrics{.swapTotalMB = 1.0, .swapUsedMB = 0.0, .swapFreeMB = 1.0}));
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
    EXPECT_EQ(collector.collect(), (MemoryMetrics{.pageIns = 5}));
    EXPECT_EQ(log.matching("Failed to get swap usage").size(), 1u);
}

}  // namespace
}  // namespace ostrel
