// A monitor built from this machine's pieces, on real threads, for a few seconds.
#include <thread>

#include "monitor_fixture.h"

namespace ostrel::testing {
namespace {

TEST(MonitorIntegrationTest, ARealMonitorStoresPinsAlertsAndDeliversOverTls) {
    TempDir dir;
    HecTestServer server;
    LogRecorder log;
    auto dispatcher = makeThreadDispatcher();
    auto notifier = makeDesktopNotifier(std::nullopt);
    AlertManager alerts(dispatcher->clock(), *notifier, dispatcher->mainQueue());
    MonitorDependencies dependencies = MonitorDependencies::forThisMachine(
        *dispatcher, alerts, std::make_shared<MemoryPreferencesStore>(), dir / "data");

    const Duration begun = dispatcher->clock().monotonic();
    std::shared_ptr<PerformanceMonitor> monitor;
    std::optional<int64_t> delivered;
    dispatcher->mainQueue().async([&] {
        monitor = PerformanceMonitor::create(std::move(dependencies));
        MonitorConfig config = uploadingTo(server);
        config.intervalSeconds = 1;
        config.alertsEnabled = true;
        config.alertCPUThreshold = 1;  // the lowest; the spinning thread below passes it
        config.alertMemoryPressureLevel = 0;
        monitor->configure(config);
        monitor->pinProcess("ostrel_monitor");  // this test program
        monitor->start();
    });
    auto upload = dispatcher->makeTimer(dispatcher->mainQueue(), {.firstDeadline = 3500ms},
                                        [&] { monitor->uploadNow(); });
    auto finish = dispatcher->makeTimer(
        dispatcher->mainQueue(), {.firstDeadline = 3600ms, .period = 100ms}, [&] {
            const bool timedOut = dispatcher->clock().monotonic() - begun > 30s;
            if (!timedOut && (monitor->isUploading.get() || !monitor->lastUploadDate.get())) return;
            monitor->stop();
            delivered = monitor->lastUploadCount.get();
            monitor.reset();
            dispatcher->quitMainLoop();
        });
    // One core busy for the whole run, so that every sample is past the CPU threshold.
    std::jthread spinning([](std::stop_token stop) {
        while (!stop.stop_requested()) {
        }
    });
    dispatcher->runMainLoop();
    spinning = {};
    finish.reset();

    const StoredLines stored(dir / "data" / "metrics");
    EXPECT_GE(stored.samples.size(), 3u);
    for (const SystemMetrics& sample : stored.samples)
        EXPECT_TRUE(sample.cpu && sample.memory && sample.processes && sample.disk);
    EXPECT_GE(stored.watched.size(), 3u);
    for (const WatchedProcessEvent& event : stored.watched) {
        EXPECT_EQ(event.watched.pattern, "ostrel_monitor");
        EXPECT_GE(event.watched.processCount, 1);
    }
    EXPECT_GE(stored.alerts.size(), 1u);
    for (const AlertEvent& event : stored.alerts)
        EXPECT_EQ(event.alert.type, "cpu_high");
    ASSERT_TRUE(delivered);
    EXPECT_EQ(server.events().size(), static_cast<size_t>(*delivered));
    // What was stored before the upload went up; what came after waits in the queue.
    int64_t waiting = 0;
    for (const auto& file : std::filesystem::directory_iterator(dir / "data" / "upload")) {
        EXPECT_EQ(file.path().filename(), "pending.jsonl");
        const std::string text = readFile(file.path());
        waiting += std::count(text.begin(), text.end(), '\n');
    }
    EXPECT_EQ(*delivered + waiting, static_cast<int64_t>(stored.size()));
    EXPECT_TRUE(log.matching("Storage failed").empty());
}

}  // namespace
}  // namespace ostrel::testing
