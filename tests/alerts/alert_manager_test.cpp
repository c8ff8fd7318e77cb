#include "alerts/alert_manager.h"

#include <gtest/gtest.h>

#include "support/fake_notifier.h"
#include "support/log_recorder.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using testing::FakeNotifier;
using testing::LogRecorder;
using testing::VirtualDispatcher;

ProcessMetricInfo process(int64_t pid, std::string name, std::optional<double> cpu,
                          double memory = 100) {
    return {.pid = pid, .name = std::move(name), .cpuPercent = cpu, .memoryMB = memory};
}

AlertProcessInfo row(int64_t pid, std::string name, std::optional<double> cpu,
                     double memory = 100) {
    return {.pid = pid, .name = std::move(name), .cpuPercent = cpu, .memoryMB = memory};
}

// A sample with a CPU load split over user and system time, and a memory pressure level.
SystemMetrics sample(std::optional<double> load, std::optional<int64_t> pressure = std::nullopt,
                     std::vector<ProcessMetricInfo> topCPU = {}) {
    SystemMetrics metrics{.hostname = "host-1"};
    if (load) metrics.cpu = CPUMetrics{.userPercent = *load - 5, .systemPercent = 5};
    if (pressure) metrics.memory = MemoryMetrics{.pressureLevel = pressure};
    metrics.processes = ProcessMetrics{.topCPU = std::move(topCPU)};
    return metrics;
}

// Evaluates samples at moments given in seconds from the start, on virtual time.
struct Timeline {
    std::vector<AlertEvent> at(double seconds, const SystemMetrics& metrics) {
        const auto target =
            start + std::chrono::duration_cast<Duration>(std::chrono::duration<double>(seconds));
        dispatcher.virtualClock().advance(target - dispatcher.clock().now());
        return alerts.checkAndAlert(metrics, config);
    }

    VirtualDispatcher dispatcher;
    FakeNotifier notifier;
    AlertManager alerts{dispatcher.clock(), notifier, dispatcher.mainQueue()};
    MonitorConfig config{.alertMemoryPressureLevel = 2};
    const Date start = dispatcher.clock().now();
};

struct AlertTimeline : ::testing::Test, Timeline {};

TEST_F(AlertTimeline, CpuFiresOnlyOnceTheLoadHasStayedStrictlyAboveForTheSustainTime) {
    config.alertSustainedSeconds = 30;
    EXPECT_TRUE(at(0, sample(90)).empty()) << "exactly the threshold is not above it";
    for (int t = 5; t < 35; t += 5)
        EXPECT_TRUE(at(t, sample(95)).empty()) << "at " << t;

    const AlertDetails expected{.type = "cpu_high",
                                .message = "CPU usage exceeded threshold",
                                .value = "95.2%",
                                .threshold = "90%"};
    const auto events = at(35, sample(95.25));
    EXPECT_EQ(events, (std::vector<AlertEvent>{{.timestamp = dispatcher.clock().now(),
                                                .hostname = "host-1",
                                                .alert = expected}}));
    ASSERT_EQ(notifier.posted.size(), 1u);
    EXPECT_EQ(notifier.posted[0].title, "High CPU Usage");
    EXPECT_EQ(notifier.posted[0].body, "CPU usage is at 95.2% (threshold: 90%)");
}

TEST_F(AlertTimeline, SteadyLoadRepeatsAfterEachCooldownWithPeaksSinceTheLastAlert) {
    config.alertCooldownMinutes = 5;
    ASSERT_EQ(at(0, sample(99, {}, {process(9, "early", 99)})).size(), 1u);
    EXPECT_TRUE(
        at(60, sample(99, {}, {process(1, "builder", 50), process(4, "indexer", 40)})).empty());
    EXPECT_TRUE(
        at(120, sample(99, {}, {process(2, "builder", 70, 7), process(5, "shell", 10)})).empty());
    EXPECT_TRUE(at(180, sample(99, {}, {process(3, "builder", 60)})).empty());
    EXPECT_TRUE(
        at(240, sample(99, {}, {process(6, "idle", std::nullopt), process(7, "tiny", 1)})).empty());
    EXPECT_TRUE(at(299, sample(99)).empty());

    auto events = at(300, sample(99, {}, {process(8, "compiler", 80)}));
    ASSERT_EQ(events.size(), 1u);
    // Busiest sighting per name, busiest first, five at most; nothing from before the first
    // alert; a process without a CPU figure ranks as 0.
    EXPECT_EQ(events[0].alert.topCPUProcesses,
              (std::vector{row(8, "compiler", 80), row(2, "builder", 70, 7), row(4, "indexer", 40),
                           row(5, "shell", 10), row(7, "tiny", 1)}));

    EXPECT_TRUE(at(599, sample(99)).empty());
    events = at(600, sample(99));
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].alert.topCPUProcesses, std::nullopt) << "no process seen since";
    EXPECT_EQ(notifier.posted.size(), 3u);
}

// A quiet spell ends an excursion once it has lasted half the sustain time, and at least 1 second
// for CPU, 5 for memory, which lags. Until then a sample above continues the excursion, and
// fires at once, since its sustain has long passed.
TEST(AlertRecovery, TakesHalfTheSustainButNoLessThanTheMinimumAndRestartsWhenAboveAgain) {
    const struct {
        bool cpu;
        int64_t sustain;
        double recovery;
    } cases[] = {{true, 1, 1.0}, {false, 1, 5.0}, {true, 60, 30.0}, {false, 60, 30.0}};
    for (const auto& test : cases) {
        SCOPED_TRACE(::testing::Message() << (test.cpu ? "cpu " : "memory ") << test.sustain);
        const SystemMetrics high = test.cpu ? sample(95) : sample(std::nullopt, 4);
        const SystemMetrics quiet = test.cpu ? sample(50) : sample(std::nullopt, 1);
        Timeline t;
        t.config.alertSustainedSeconds = t.config.alertMemorySustainedSeconds = test.sustain;
        t.config.alertCooldownMinutes = 0;
        const double late = static_cast<double>(test.sustain) + test.recovery + 1;

        EXPECT_TRUE(t.at(0, high).empty());
        t.at(0.5, quiet);
        t.at(0.5 + test.recovery - 0.1, quiet);
        EXPECT_EQ(t.at(late, high).size(), 1u) << "a quiet spell too short";

        t.at(late + 0.5, quiet);
        t.at(late + 0.5 + test.recovery, quiet);
        const double fresh = late + 0.5 + test.recovery + 0.01;
        EXPECT_TRUE(t.at(fresh, high).empty()) << "a new excursion, a new sustain";

        t.at(fresh + 0.5, quiet);
        t.at(fresh + 0.6, high);
        t.at(fresh + 0.6 + test.recovery, quiet);
        EXPECT_EQ(t.at(fresh + late, high).size(), 1u) << "the quiet count began again at 0.6";
    }
}

TEST_F(AlertTimeline, MissingCpuDataHoldsTheCpuClockWhileMissingMemoryCountsAsQuiet) {
    config.alertSustainedSeconds = 10;
    config.alertMemorySustainedSeconds = 10;
    EXPECT_TRUE(at(0, sample(95, 4)).empty());
    for (double t : {1, 6, 11})
        EXPECT_TRUE(at(t, SystemMetrics{.hostname = "h"}).empty());

    const auto events = at(12, sample(95, 4));
    ASSERT_EQ(events.size(), 1u) << "memory recovered during the gap and starts again";
    EXPECT_EQ(events[0].alert.type, "cpu_high");
}

TEST_F(AlertTimeline, MemoryAlertCarriesLevelAndThresholdWordsAndThisSamplesProcesses) {
    SystemMetrics metrics = sample(10, 4);
    for (int pid = 1; pid <= 6; ++pid)
        metrics.processes->topCPU->push_back(process(pid, "p", pid));
    auto events = at(0, metrics);
    ASSERT_EQ(events.size(), 1u);
    // The first five as ranked, not a peak table.
    const std::vector topCPU{row(1, "p", 1), row(2, "p", 2), row(3, "p", 3), row(4, "p", 4),
                             row(5, "p", 5)};
    EXPECT_EQ(events[0].alert, (AlertDetails{.type = "memory_critical",
                                             .message = "Memory pressure is critical",
                                             .value = "critical",
                                             .threshold = "warning",
                                             .topCPUProcesses = topCPU}));
    ASSERT_EQ(notifier.posted.size(), 1u);
    EXPECT_EQ(notifier.posted[0].title, "Critical Memory Pressure");

    config.alertCooldownMinutes = 0;
    events = at(1, sample(10, 3));
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].alert.type, "memory_warning") << "anything short of critical";
    EXPECT_EQ(events[0].alert.value, "normal") << "level 3 has no word of its own";
    EXPECT_EQ(notifier.posted[1].title, "Warning: Memory Pressure");
}

TEST_F(AlertTimeline, MemoryLevelZeroSwitchesAlertsOffAndLetsARunningExcursionDecay) {
    config.alertMemorySustainedSeconds = 10;
    EXPECT_TRUE(at(0, sample(std::nullopt, 4)).empty());

    config.alertMemoryPressureLevel = 0;
    for (double t : {1, 6, 11, 20})
        EXPECT_TRUE(at(t, sample(std::nullopt, 4)).empty());

    config.alertMemoryPressureLevel = 2;
    EXPECT_TRUE(at(21, sample(std::nullopt, 4)).empty()) << "a new excursion, a new sustain";
    EXPECT_EQ(at(31, sample(std::nullopt, 4)).size(), 1u);
}

TEST_F(AlertTimeline, BothAlertsInOneEvaluationComeCpuFirstEachWithItsNotification) {
    config.alertCPUNotificationTitle = "CPU {value}";
    config.alertCPUNotificationBody = "at {value} over {threshold}";
    config.alertMemoryNotificationTitle = "Memory {level}";
    const auto events = at(0, sample(97, 2));
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].alert.type, "cpu_high");
    EXPECT_EQ(events[1].alert.type, "memory_warning");
    ASSERT_EQ(notifier.posted.size(), 2u);
    EXPECT_EQ(notifier.posted[0].title, "CPU {value}");
    EXPECT_EQ(notifier.posted[0].body, "at 97.0% over 90%");
    EXPECT_EQ(notifier.posted[1].title, "Memory warning");
    EXPECT_NE(notifier.posted[0].identifier, notifier.posted[1].identifier);

    config.alertShowNotification = false;
    config.alertCooldownMinutes = 0;
    EXPECT_EQ(at(1, sample(97, 2)).size(), 2u);
    EXPECT_EQ(notifier.posted.size(), 2u) << "events without notifications";
}

TEST_F(AlertTimeline, FailedNotificationIsLoggedAndTheEventStandsWithoutRetry) {
    LogRecorder log;
    notifier.postError = "no notification service";
    EXPECT_EQ(at(0, sample(95)).size(), 1u);
    EXPECT_TRUE(at(1, sample(95)).empty()) << "the cooldown runs from the failed alert";
    EXPECT_EQ(notifier.posted.size(), 1u);
    EXPECT_EQ(log.matching("Failed to send notification: no notification service").size(), 1u);
}

TEST_F(AlertTimeline, PermissionAnswersAreLoggedTheTestAlertNeedsThemAndStatusComesOnTheMainQueue) {
    LogRecorder log;
    alerts.requestPermission();
    alerts.sendTestAlert();
    ASSERT_EQ(notifier.posted.size(), 1u);
    EXPECT_EQ(notifier.posted[0].title, "Ostrel Test Alert");
    EXPECT_EQ(notifier.posted[0].body,
              "This is a test notification. Alerts are working correctly.");
    EXPECT_EQ(log.matching("Notification permission granted").size(), 1u);

    notifier.granted = false;
    alerts.requestPermission();
    alerts.sendTestAlert();
    notifier.authorizationError = "bus refused";
    alerts.sendTestAlert();
    EXPECT_EQ(notifier.posted.size(), 1u);
    EXPECT_EQ(log.matching("Notification permission denied").size(), 2u);
    EXPECT_EQ(log.matching("Notification permission error: bus refused").size(), 1u);

    std::optional<bool> status;
    alerts.checkPermissionStatus([&](bool authorized) { status = authorized; });
    EXPECT_EQ(status, std::nullopt) << "answered on the main queue, not on the notifier's";
    dispatcher.runUntilIdle();
    EXPECT_EQ(status, false);
}

}  // namespace
}  // namespace ostrel
