#include <fstream>

#include "monitor_fixture.h"

namespace ostrel::testing {
namespace {

using RunLoopTest = MonitorFixture;

TEST_F(RunLoopTest, FirstSampleAtStartTheNextOnePeriodLaterANewIntervalRestartsThePeriod) {
    build();
    EXPECT_TRUE(monitor->lastMetrics.get()) << "construction samples once for display";
    EXPECT_TRUE(stored().samples.empty()) << "and writes nothing";

    MonitorConfig config;
    config.intervalSeconds = 10;
    monitor->configure(config);
    monitor->start();
    dispatcher.runUntilIdle();
    EXPECT_EQ(stored().samples.size(), 1u);
    EXPECT_EQ(monitor->successCount.get(), 1);
    EXPECT_EQ(monitor->lastCollection.get(), dispatcher.clock().now());
    const auto started = monitor->captureStartTime.get();

    dispatcher.advance(9s);
    monitor->start();  // already running: nothing moves
    dispatcher.advance(999ms);
    EXPECT_EQ(stored().samples.size(), 1u);
    dispatcher.advance(1ms);
    EXPECT_EQ(stored().samples.size(), 2u);
    EXPECT_EQ(monitor->captureStartTime.get(), started);
    EXPECT_EQ(audits("monitor_start"),
              std::vector<std::string>{"[monitor_start] interval_seconds=10, duration_minutes=0"});

    dispatcher.advance(4s);
    config.intervalSeconds = 5;
    monitor->configure(config);
    EXPECT_EQ(stored().samples.size(), 2u) << "a change takes no extra sample";
    dispatcher.advance(4900ms);
    EXPECT_EQ(stored().samples.size(), 2u) << "neither a 5 s period kept in step with the start";
    dispatcher.advance(100ms);
    EXPECT_EQ(stored().samples.size(), 3u) << "nor the old 10 s one: 5 s after the change";

    monitor->stop();
    monitor->stop();
    EXPECT_EQ(audits("monitor_stop").size(), 2u) << "stop has no guard";
    dispatcher.advance(60s);
    EXPECT_EQ(stored().samples.size(), 3u);
    EXPECT_EQ(monitor->captureStartTime.get(), started) << "stop keeps the capture's start";
}

TEST_F(RunLoopTest, ASampleInFlightAcrossStopLandsButOneOfAReleasedMonitorWritesNothing) {
    build();
    monitor->start();
    monitor->stop();
    EXPECT_FALSE(monitor->lastCollection.get());
    dispatcher.runUntilIdle();
    EXPECT_FALSE(monitor->isRunning.get());
    EXPECT_TRUE(monitor->lastCollection.get());
    EXPECT_EQ(stored().samples.size(), 1u);

    monitor->collectAndStore();
    ASSERT_TRUE(dispatcher.runOne());  // collected; the main-queue step waits
    std::weak_ptr<PerformanceMonitor> weak = monitor;
    monitor.reset();
    EXPECT_TRUE(weak.expired()) << "queued work does not keep the monitor alive";
    dispatcher.runUntilIdle();
    EXPECT_EQ(stored().samples.size(), 1u);
}

TEST_F(RunLoopTest, AStorageFailureCountsAndShowsWhileCollectionGoesOn) {
    build();
    const auto metricsFolder = dir / "data" / "metrics";
    std::filesystem::remove_all(metricsFolder);
    std::ofstream(metricsFolder) << "a file where the folder should be";
    monitor->start();
    dispatcher.runUntilIdle();
    EXPECT_EQ(monitor->errorCount.get(), 1);
    EXPECT_EQ(monitor->successCount.get(), 0);
    ASSERT_TRUE(monitor->lastError.get());
    EXPECT_TRUE(monitor->lastError.get()->starts_with("Storage error: "));
    EXPECT_EQ(log.matching("Storage failed: ").size(), 1u);

    std::filesystem::remove(metricsFolder);
    dispatcher.advance(2s);
    EXPECT_EQ(monitor->successCount.get(), 1);
    EXPECT_FALSE(monitor->lastError.get()) << "a good save clears the old error";

    MonitorConfig off;
    off.storageEnabled = false;
    monitor->configure(off);
    dispatcher.advance(2s);
    EXPECT_EQ(monitor->successCount.get(), 2) << "a store switched off still counts";
    EXPECT_EQ(stored().samples.size(), 1u);
}

}  // namespace
}  // namespace ostrel::testing
