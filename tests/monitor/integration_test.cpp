// A monitor built from this machine's pieces, on real threads, for a few seconds.
#include <gtest/gtest.h>

#include "alerts/alert_manager.h"
#include "monitor/performance_monitor.h"
#include "records/record_json.h"
#include "support/hec_test_server.h"
#include "support/log_recorder.h"
#include "support/memory_preferences_store.h"
#include "support/temp_dir.h"

namespace ostrel::testing {
namespace {

using namespace std::chrono_literals;

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
        MonitorConfig config;
        config.intervalSeconds = 1;
        config.alertsEnabled = true;
        config.alertCPUThreshold = 0;  // any load at all alerts
        config.alertCooldownMinutes = 0;
        config.alertMemoryPressureLevel = 0;
        config.uploadEnabled = true;
        config.hecEndpoint = server.url();
        config.hecToken = server.token();
        config.verifySSL = false;
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
    dispatcher->runMainLoop();
    finish.reset();

    int samples = 0, pinned = 0, alertLines = 0;
    int64_t lines = 0;
    for (const auto& file : std::filesystem::directory_iterator(dir / "data" / "metrics")) {
        const std::string text = readFile(file.path());
        for (size_t start = 0, end; start < text.size(); start = end + 1) {
            end = text.find('\n', start);
            ++lines;
            const std::string_view line(text.data() + start, end - start);
            if (auto event = decodeJson<WatchedProcessEvent>(line)) {
                pinned +=
                    event->watched.pattern == "ostrel_monitor" && event->watched.processCount >= 1;
            } else if (auto alert = decodeJson<AlertEvent>(line)) {
                alertLines += alert->alert.type == "cpu_high";
            } else {
                const auto sample = decodeJson<SystemMetrics>(line);
                ASSERT_TRUE(sample) << line;
                EXPECT_TRUE(sample->cpu && sample->memory && sample->processes && sample->disk);
                ++samples;
            }
        }
    }
    EXPECT_GE(samples, 3);
    EXPECT_GE(pinned, 3);
    EXPECT_GE(alertLines, 1);
    ASSERT_TRUE(delivered);
    EXPECT_EQ(server.events().size(), static_cast<size_t>(*delivered));
    // What was stored before the upload went up; what came after waits in the queue.
    int64_t waiting = 0;
    for (const auto& file : std::filesystem::directory_iterator(dir / "data" / "upload")) {
        EXPECT_EQ(file.path().filename(), "pending.jsonl");
        const std::string text = readFile(file.path());
        waiting += std::count(text.begin(), text.end(), '\n');
    }
    EXPECT_EQ(*delivered + waiting, lines);
    EXPECT_TRUE(log.matching("Storage failed").empty());
}

}  // namespace
}  // namespace ostrel::testing
