#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "alerts/alert_manager.h"
#include "collectors/fake_sources.h"
#include "collectors/metrics_aggregator.h"
#include "monitor/performance_monitor.h"
#include "records/record_json.h"
#include "storage/metrics_storage.h"
#include "support/fake_notifier.h"
#include "support/hec_test_server.h"
#include "support/log_recorder.h"
#include "support/memory_preferences_store.h"
#include "support/temp_dir.h"
#include "support/virtual_dispatcher.h"

namespace ostrel::testing {

using namespace std::chrono_literals;

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

// Upload on, towards the test collector and its self-signed certificate.
inline MonitorConfig uploadingTo(const HecTestServer& server) {
    MonitorConfig config;
    config.uploadEnabled = true;
    config.hecEndpoint = server.url();
    config.hecToken = server.token();
    config.verifySSL = false;
    return config;
}

// The lines of every metric file in `folder`, sorted by kind; a line that does not decode
// throws, which fails the test.
struct StoredLines {
    std::vector<SystemMetrics> samples;
    std::vector<WatchedProcessEvent> watched;
    std::vector<AlertEvent> alerts;

    explicit StoredLines(const std::filesystem::path& folder) {
        for (const auto& file : std::filesystem::directory_iterator(folder)) {
            std::istringstream text(readFile(file.path()));
            for (std::string line; std::getline(text, line);) {
                if (line.find("\"event_type\"") != std::string::npos) {
                    watched.push_back(decodeJson<WatchedProcessEvent>(line).value());
                } else if (isEventLine(line)) {
                    alerts.push_back(decodeJson<AlertEvent>(line).value());
                } else {
                    samples.push_back(decodeJson<SystemMetrics>(line).value());
                }
            }
        }
    }
    size_t size() const { return samples.size() + watched.size() + alerts.size(); }
};

class MonitorFixture : public ::testing::Test {
  protected:
    // Before the members of a derived fixture go: connections to its test collector close first.
    void TearDown() override {
        monitor.reset();
        dispatcher.runUntilIdle();
        hecOptions.transport.reset();
    }

    // Fresh fakes on each call, on virtual time; `cpu` and `storage` point at the newest.
    MonitorDependencies dependencies(AlertManager& alertManager) {
        auto clockedCpu = std::make_unique<ClockedCpuSource>();
        clockedCpu->clock = &dispatcher.virtualClock();
        cpu = clockedCpu.get();
        storage = std::make_shared<MetricsStorage>(MonitorConfig{}, dir / "data",
                                                   dispatcher.clock(), dir / "logs");
        return {
            .dispatcher = &dispatcher,
            .alertManager = &alertManager,
            .preferences = preferences,
            .collector = std::make_shared<MetricsAggregator>(
                CollectionSources{
                    .cpu = std::move(clockedCpu),
                    .memory = std::make_unique<FakeMemorySource>(),
                    .disk = std::make_unique<FakeDiskSource>(),
                    .network = std::make_unique<FakeNetworkSource>(),
                    .power = std::make_unique<FakePowerSource>(),
                    .gpu = std::make_unique<FakeGpuSource>(),
                    .system = std::make_unique<FakeSystemInfoSource>(),
                },
                ProcessSources{.processes = processes}, dispatcher),
            .storage = storage,
            .makeHECClient = MonitorDependencies::hecClientFactory(dispatcher.clock(), hecOptions),
            .observeWake =
                [this](Dispatcher&, Task onWake) {
                    wake = std::move(onWake);
                    return std::make_unique<WakeObservation>();
                },
            .makePathMonitor = [this] { return std::make_unique<FakePaths::Monitor>(paths); },
            .powerSources = power,
        };
    }

    void build() {
        monitor = PerformanceMonitor::create(dependencies(alerts));
        dispatcher.runUntilIdle();
    }

    StoredLines stored() const { return StoredLines(dir / "data" / "metrics"); }

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
    ClockedCpuSource* cpu = nullptr;
    std::shared_ptr<FakeProcessList> processes = std::make_shared<FakeProcessList>();
    std::shared_ptr<FakePowerSource> power = std::make_shared<FakePowerSource>();
    FakePaths paths;
    Task wake;
    HECClientOptions hecOptions{.timeouts = {.batch = 3s, .health = 2s}};
    std::shared_ptr<MetricsStorage> storage;
    std::shared_ptr<PerformanceMonitor> monitor;
};

}  // namespace ostrel::testing
