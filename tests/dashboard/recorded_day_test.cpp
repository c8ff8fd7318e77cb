// A day recorded by this machine's own agent, end to end: the monitor with this machine's
// collectors samples on virtual time, its store writes the files, the dashboard reads them.
#include <algorithm>
#include <thread>

#include "alerts/alert_manager.h"
#include "dashboard_fixture.h"
#include "monitor/performance_monitor.h"
#include "support/fake_notifier.h"
#include "support/realistic_day.h"

namespace ostrel::testing {
namespace {

TEST_F(DashboardTest, ADayOfThisMachinesSamplesGivesSeriesRankingsAlertsAndAProcessAnalysis) {
    const Date midnight = localMidnight(dispatcher.clock().now(), 0);
    dispatcher.virtualClock().setWallClock(midnight + 1s);
    FakeNotifier notifier;
    AlertManager alerts(dispatcher.clock(), notifier, dispatcher.mainQueue());
    auto monitor = PerformanceMonitor::create(MonitorDependencies::forThisMachine(
        dispatcher, alerts, std::make_shared<MemoryPreferencesStore>(), dir / "data"));
    MonitorConfig config;
    config.alertsEnabled = true;
    config.alertMemoryPressureLevel = 1;  // any pressure at all alerts
    config.alertCooldownMinutes = 0;
    config.alertShowNotification = false;
    monitor->configure(config);
    monitor->pinProcess("ostrel_dash");  // this test program
    // One sample every half hour: each start stores one at once. Real time passes between
    // samples too, so that the kernel's CPU ticks move on.
    for (int step = 0; step < 44; ++step) {
        monitor->start();
        dispatcher.runUntilIdle();
        monitor->stop();
        std::this_thread::sleep_for(25ms);
        dispatcher.advance(30min);
    }
    monitor.reset();
    dispatcher.runUntilIdle();

    const auto day = storage->availableDays().front();
    const auto stored = MetricsStorage::loadFilesInParallel(
        MetricsStorage::filterFilesForDay(*storage->metricsFiles(), day));
    ASSERT_GE(stored.size(), 40u);
    load();
    ASSERT_EQ(model->fetchPhase->kind, FetchPhase::Kind::success);
    EXPECT_EQ(model->selectedDay(), day);
    const CachedChartData& data = model->cached();
    EXPECT_EQ(data.sampleCount, static_cast<int64_t>(stored.size()));
    EXPECT_EQ(data.series.memoryActive.size(), stored.size());
    EXPECT_EQ(data.series.cpuUsage.size(),
              std::count_if(stored.begin(), stored.end(), [](const SystemMetrics& sample) {
                  return sample.cpu->userPercent && sample.cpu->systemPercent;
              }));
    // User and system are each rounded to a tenth, so their sum may pass 100 by a little.
    for (const ChartPoint& point : data.series.cpuUsage)
        EXPECT_TRUE(point.value >= 0 && point.value <= 100.2) << point.value;
    ASSERT_TRUE(data.series.memoryActive.back().topProcesses);
    EXPECT_EQ(data.series.memoryActive.back().topProcesses->front().cpuCores,
              stored.back().cpu->cpuCount);
    EXPECT_TRUE(data.avgMemoryUsedGB && *data.avgMemoryUsedGB > 0);
    EXPECT_EQ(model->latestMetrics()->hostname, stored.back().hostname);

    // Rankings: by mean memory, each name at most once per sample.
    ASSERT_FALSE(data.topMemory.empty());
    EXPECT_TRUE(std::is_sorted(data.topMemory.begin(), data.topMemory.end(),
                               [](auto& a, auto& b) { return a.avgMemoryMB > b.avgMemoryMB; }));
    for (const ProcessAggregate& row : data.topMemory) {
        EXPECT_LE(row.presence(), 100);
        EXPECT_EQ(row.totalSamples, data.sampleCount);
    }

    // Alerts of the day, newest first.
    ASSERT_FALSE(model->alertEvents->empty());
    EXPECT_GE(model->alertEvents->front().timestamp, model->alertEvents->back().timestamp);

    // This program, pinned, analysed over the day and over one hour of it.
    EXPECT_EQ(model->availableProcessPatterns(), std::vector<std::string>{"ostrel_dash"});
    model->selectProcess("ostrel_dash");
    EXPECT_EQ(model->processSearchData().memory.size(), model->watchedProcessEvents().size());
    EXPECT_GT(model->processSearchData().memory.front().value, 0);
    const ChartSeries& usage = data.series.cpuUsage;
    ASSERT_GE(usage.size(), 10u);
    model->setZoom(usage[4].date, usage[5].date);
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->zoomFilteredSeries().cpuUsage.size(), 2u);
    EXPECT_EQ(model->zoomFilteredSeries().memoryActive.size(), 2u);
    EXPECT_EQ(model->zoomFilteredProcessData().memory.size(), 2u);
}

}  // namespace
}  // namespace ostrel::testing
