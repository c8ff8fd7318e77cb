#include "monitor_fixture.h"

namespace ostrel::testing {
namespace {

class MonitorAlertsTest : public MonitorFixture {
  protected:
    // Starts collecting with alerts on, a baseline's worth of time after construction.
    void startWith(MonitorConfig config) {
        build();
        config.alertsEnabled = true;
        dispatcher.advance(1s);
        monitor->configure(config);
        started = dispatcher.clock().now();
        monitor->start();
        dispatcher.runUntilIdle();
    }
    // Seconds after start of each stored alert of `type`.
    std::vector<int64_t> alertTimes(std::string_view type) const {
        std::vector<int64_t> times;
        for (const AlertEvent& event : stored().alerts) {
            if (event.alert.type == type)
                times.push_back(
                    std::chrono::round<std::chrono::seconds>(event.timestamp - started).count());
        }
        return times;
    }

    Date started;
};

TEST_F(MonitorAlertsTest, CpuAlertsAfterTheSustainTimeAgainAfterTheCooldownAndDespiteNoNotifier) {
    cpu->busyShare = 0.95;
    notifier.failure = "No notification service";
    MonitorConfig config;
    config.alertSustainedSeconds = 10;
    config.alertCooldownMinutes = 15;
    config.alertMemoryPressureLevel = 0;
    startWith(config);
    dispatcher.advance(9s);
    EXPECT_TRUE(alertTimes("cpu_high").empty());
    dispatcher.advance(1s);
    EXPECT_EQ(alertTimes("cpu_high"), std::vector<int64_t>{10});
    dispatcher.advance(15min);
    EXPECT_EQ(alertTimes("cpu_high"), (std::vector<int64_t>{10, 910}));
    ASSERT_EQ(notifier.posted.size(), 2u);
    EXPECT_EQ(log.matching("Failed to send notification: No notification service").size(), 2u);
}

// Memory pressure is given at least 5 s of quiet to count as eased, whatever half the sustain
// time says: a 2 s dip continues the excursion, a 6 s one ends it.
TEST_F(MonitorAlertsTest, MemoryRecoveryNeedsFiveQuietSecondsEvenWithAShortSustain) {
    memory->snapshot.pressureLevel = 4;
    MonitorConfig config;
    config.alertMemorySustainedSeconds = 4;
    config.alertCooldownMinutes = 0;
    startWith(config);
    const auto phase = [&](int64_t level, Duration length) {
        memory->snapshot.pressureLevel = level;
        dispatcher.advance(length);
    };
    phase(4, 5s);  // samples at 2, 4: fires at 4
    phase(1, 4s);  // quiet at 6, 8
    phase(4, 2s);  // 10: the excursion went on, so it fires at once
    phase(1, 8s);  // quiet at 12 to 18: eased
    phase(4, 6s);  // 20, 22 rising again; fires at 24
    EXPECT_EQ(alertTimes("memory_critical"), (std::vector<int64_t>{4, 10, 24}));
}

// With no sustain time a CPU dip still needs a second of quiet to end the excursion, so a single
// quiet sample keeps the busiest processes seen so far for the next alert.
TEST_F(MonitorAlertsTest, CpuRecoveryNeedsOneQuietSecondSoASingleQuietSampleKeepsThePeaks) {
    cpu->busyShare = 0.95;
    MonitorConfig config;
    config.intervalSeconds = 1;
    config.alertCooldownMinutes = 1;
    config.alertMemoryPressureLevel = 0;
    startWith(config);  // alerts at once
    processes->processes.push_back({.pid = 99, .name = "burst", .user = "ana", .cpuPercent = 80});
    dispatcher.advance(1s);
    processes->processes.pop_back();
    cpu->busyShare = 0.05;
    dispatcher.advance(1s);
    cpu->busyShare = 0.95;
    dispatcher.advance(58s);
    const auto events = stored().alerts;
    ASSERT_EQ(events.size(), 2u);
    ASSERT_TRUE(events[1].alert.topCPUProcesses);
    const auto& peaks = *events[1].alert.topCPUProcesses;
    EXPECT_TRUE(
        std::any_of(peaks.begin(), peaks.end(), [](const auto& p) { return p.name == "burst"; }));
}

}  // namespace
}  // namespace ostrel::testing
