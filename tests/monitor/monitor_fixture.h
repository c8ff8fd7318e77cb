#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "alerts/alert_manager.h"
#include "collectors/fake_sources.h"
#include "collectors/metrics_aggregator.h"
#include "monitor/performance_monitor.h"
#include "records/record_json.h"
#include "storage/metrics_storage.h"
#include "support/log_recorder.h"
#include "support/memory_preferences_store.h"
#include "support/temp_dir.h"
#include "support/virtual_dispatcher.h"

namespace ostrel::testing {

using namespace std::chrono_literals;

// Posts succeed unless `failure` says otherwise; every post is kept.
struct FakeNotifier : Notifier {
    std::vector<Notification> posted;
    std::optional<std::string> failure;

    void requestAuthorization(AuthorizationHandler handler) override { handler(true, {}); }
    void authorizationStatus(StatusHandler handler) override { handler(true); }
    void post(Notification notification, PostHandler handler) override {
        posted.push_back(std::move(notification));
        handler(failure);
    }
};

// CPU ticks that grow with virtual time at the busy share of the moment, so every stored
// sample sees the load set before it.
struct ClockedCpuSource : FakeCpuSource {
    const VirtualClock* clock = nullptr;
    double busyShare = 0.05;

    tl::expected<CpuTicks, ReadError> readTicks() override {
        const Duration now = clock->monotonic();
        const double elapsedMs = std::chrono::duration<double, std::milli>(now - last_).count();
        last_ = now;
        total_.user += static_cast<uint64_t>(elapsedMs * busyShare);
        total_.idle += static_cast<uint64_t>(elapsedMs * (1 - busyShare));
        return total_;
    }

  private:
    Duration last_{0};
    CpuTicks total_;
};

struct FakeProcessList : ProcessSource {
    std::vector<ProcessReading> processes;
    tl::expected<ProcessTable, ReadError> listProcesses() override {
        return ProcessTable{.processes = processes};
    }
};

// Path monitors that report only when the test says so.
struct FakePaths {
    struct Monitor : NetworkPathMonitor {
        explicit Monitor(FakePaths& owner) : owner_(owner) { ++owner_.created; }
        ~Monitor() override { owner_.active.erase(this); }
        void start(SerialQueue& queue, Handler handler) override {
            owner_.active[this] = {&queue, std::move(handler)};
        }
        void cancel() override { owner_.active.erase(this); }
        FakePaths& owner_;
    };

    // Tells every waiting monitor the path's state, on its own queue.
    void report(bool satisfied) {
        for (auto& [monitor, watch] : active)
            watch.first->async([handler = watch.second, satisfied] { handler(satisfied); });
    }

    int created = 0;
    std::map<Monitor*, std::pair<SerialQueue*, NetworkPathMonitor::Handler>> active;
};

// Lines of every metric file, sorted by kind.
struct StoredLines {
    std::vector<SystemMetrics> samples;
    std::vector<WatchedProcessEvent> watched;
    std::vector<AlertEvent> alerts;
};

class MonitorFixture : public ::testing::Test {
  protected:
    MonitorFixture() {
        cpu->clock = &dispatcher.virtualClock();
        processes->processes = {{.pid = 10,
                                 .name = "Chrome Helper",
                                 .user = "ana",
                                 .residentBytes = 64 << 20,
                                 .cpuPercent = 4},
                                {.pid = 11,
                                 .name = "chrome",
                                 .user = "ana",
                                 .residentBytes = 32 << 20,
                                 .cpuPercent = 2},
                                {.pid = 12,
                                 .name = "Safari",
                                 .user = "ana",
                                 .residentBytes = 16 << 20,
                                 .cpuPercent = 1}};
    }
    ~MonitorFixture() override {
        monitor.reset();
        dispatcher.runUntilIdle();
    }

    void build() {
        CollectionSources sources{
            .cpu = std::move(cpuSource),
            .memory = std::move(memorySource),
            .disk = std::make_unique<FakeDiskSource>(),
            .network = std::make_unique<FakeNetworkSource>(),
            .power = std::make_unique<FakePowerSource>(),
            .gpu = std::make_unique<FakeGpuSource>(),
            .system = std::make_unique<FakeSystemInfoSource>(),
        };
        storage = std::make_shared<MetricsStorage>(MonitorConfig{}, dir / "data",
                                                   dispatcher.clock(), dir / "logs");
        monitor = PerformanceMonitor::create({
            .dispatcher = &dispatcher,
            .alertManager = &alerts,
            .preferences = preferences,
            .collector = std::make_shared<MetricsAggregator>(
                std::move(sources), ProcessSources{.processes = processes}, dispatcher),
            .storage = storage,
            .makeHECClient = MonitorDependencies::hecClientFactory(dispatcher.clock(), hecOptions),
            .observeWake =
                [this](Dispatcher&, Task onWake) {
                    wake = std::move(onWake);
                    return std::make_unique<WakeObservation>();
                },
            .makePathMonitor = [this] { return std::make_unique<FakePaths::Monitor>(paths); },
            .powerSources = power,
        });
        dispatcher.runUntilIdle();
    }

    StoredLines stored() const {
        StoredLines lines;
        for (const auto& file : std::filesystem::directory_iterator(dir / "data" / "metrics")) {
            const std::string text = readFile(file.path());
            for (size_t start = 0, end; start < text.size(); start = end + 1) {
                end = text.find('\n', start);
                const std::string_view line(text.data() + start, end - start);
                if (line.find("\"event_type\"") != std::string_view::npos) {
                    lines.watched.push_back(*decodeJson<WatchedProcessEvent>(line));
                } else if (isEventLine(line)) {
                    lines.alerts.push_back(*decodeJson<AlertEvent>(line));
                } else {
                    lines.samples.push_back(*decodeJson<SystemMetrics>(line));
                }
            }
        }
        return lines;
    }

    // Audit entries logged so far whose text begins with "[action]".
    std::vector<std::string> audits(const std::string& action) const {
        return log.matching("[" + action + "]");
    }

    VirtualDispatcher dispatcher;
    LogRecorder log;
    FakeNotifier notifier;
    AlertManager alerts{dispatcher.clock(), notifier, dispatcher.mainQueue()};
    std::shared_ptr<MemoryPreferencesStore> preferences =
        std::make_shared<MemoryPreferencesStore>();
    TempDir dir;
    // Handed to the collector in build(); steered through the plain pointers.
    std::unique_ptr<ClockedCpuSource> cpuSource = std::make_unique<ClockedCpuSource>();
    std::unique_ptr<FakeMemorySource> memorySource = std::make_unique<FakeMemorySource>();
    ClockedCpuSource* cpu = cpuSource.get();
    FakeMemorySource* memory = memorySource.get();
    std::shared_ptr<FakeProcessList> processes = std::make_shared<FakeProcessList>();
    std::shared_ptr<FakePowerSource> power = std::make_shared<FakePowerSource>();
    FakePaths paths;
    Task wake;
    HECClientOptions hecOptions{.timeouts = {.batch = 3s, .health = 2s}};
    std::shared_ptr<MetricsStorage> storage;
    std::shared_ptr<PerformanceMonitor> monitor;
};

}  // namespace ostrel::testing
