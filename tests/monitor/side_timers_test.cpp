#include "monitor_fixture.h"

namespace ostrel::testing {
namespace {

using SideTimersTest = MonitorFixture;

// CPU alerts in the background with no sustain and the shortest cooldown; no memory alerts.
MonitorConfig backgroundCpuAlerts() {
    MonitorConfig config;
    config.alertsEnabled = config.alertInBackground = true;
    config.alertSustainedSeconds = 0;
    config.alertCooldownMinutes =
        1;  // the shortest: a check past the threshold alerts once a minute
    config.alertMemoryPressureLevel = 0;
    return config;
}

TEST_F(SideTimersTest, ADurationLimitStopsWithinTheMinuteAfterItsEndAndZeroDoesNotClearIt) {
    build();
    MonitorConfig config;
    config.captureDurationMinutes = 1;
    monitor->configure(config);
    const Date started = dispatcher.clock().now();
    std::optional<Date> stoppedAt;
    auto watch = monitor->isRunning.subscribe([&](const bool& running) {
        if (!running) stoppedAt = dispatcher.clock().now();
    });
    monitor->start();
    EXPECT_EQ(monitor->activeDurationMinutes(), 1);

    config.captureDurationMinutes = 0;
    monitor->configure(config);  // the running limit stays until it fires
    dispatcher.advance(59s);
    EXPECT_TRUE(monitor->isRunning.get());
    dispatcher.advance(61s);
    ASSERT_TRUE(stoppedAt);
    EXPECT_GE(*stoppedAt - started, 60s);
    EXPECT_LE(*stoppedAt - started, 120s);
    EXPECT_TRUE(monitor->stoppedByDurationLimit.get());
    EXPECT_EQ(audits("monitor_stop"),
              std::vector<std::string>{"[monitor_stop] stopped_by_limit=true"});

    // A new start clears the flag; with no limit set, the old end time stays on show.
    const auto oldEnd = monitor->captureEndTime.get();
    monitor->start();
    EXPECT_FALSE(monitor->stoppedByDurationLimit.get());
    EXPECT_EQ(monitor->captureEndTime.get(), oldEnd);
    dispatcher.advance(10min);
    EXPECT_TRUE(monitor->isRunning.get());
}

TEST_F(SideTimersTest, ALaunchWithBackgroundAlertsRaisesNoAlertFromItsOwnFirstMoments) {
    build();
    // An idle machine, but the launch itself keeps a processor busy for its first moments.
    cpu->busyShare = 1;
    dispatcher.advance(20ms);
    monitor->configure(backgroundCpuAlerts());  // the first check, 20 ms after the baseline
    cpu->busyShare = 0.02;
    dispatcher.advance(10s);  // the second check spans the launch too
    EXPECT_TRUE(stored().alerts.empty());
    EXPECT_EQ(log.matching("Background alerts started").size(), 1u);
}

TEST_F(SideTimersTest, BackgroundAlertsRunOnlyWhileStoppedAndStoreEventsWithoutSamples) {
    build();
    cpu->busyShare = 0.95;
    dispatcher.advance(2s);
    monitor->configure(backgroundCpuAlerts());  // stopped: one check at once, then every 10 s
    dispatcher.runUntilIdle();
    EXPECT_EQ(stored().alerts.size(), 1u);
    dispatcher.advance(60s);
    EXPECT_EQ(stored().alerts.size(), 2u);
    EXPECT_TRUE(stored().samples.empty());
    EXPECT_FALSE(monitor->lastCollection.get()) << "nothing is published";

    // Both kinds of check move the same CPU baseline, so each starts a moment after the other.
    dispatcher.advance(1s);
    monitor->start();  // alerts come from the stored samples, no background checks between
    dispatcher.advance(60s);
    EXPECT_EQ(stored().samples.size(), 31u);
    EXPECT_EQ(stored().alerts.size(), 3u);
    EXPECT_EQ(log.matching("Background alerts stopped").size(), 1u);

    monitor->stop();
    dispatcher.advance(60s);
    EXPECT_EQ(stored().alerts.size(), 4u);
    EXPECT_EQ(stored().samples.size(), 31u);
}

}  // namespace
}  // namespace ostrel::testing
