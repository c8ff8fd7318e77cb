#include "collectors/metrics_aggregator.h"

#include <gtest/gtest.h>

#include "collectors/fake_sources.h"
#include "records/formatters.h"
#include "support/log_recorder.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

struct FakeProcessSource : ProcessSource {
    tl::expected<ProcessTable, ReadError> listProcesses() override {
        return ProcessTable{.processes = {{.pid = 1, .name = "init", .cpuPercent = 0.5},
                                          {.pid = 42, .name = "worker", .cpuPercent = 12.0}}};
    }
};

// The disk capacity read takes 1.5 ms of virtual time, so the timing line has a figure to show.
struct SlowDiskSource : testing::FakeDiskSource {
    testing::VirtualClock* clock = nullptr;
    DiskCapacity capacity() override {
        clock->advance(1500us);
        return space;
    }
};

class MetricsAggregatorTest : public ::testing::Test {
  protected:
    MetricsAggregatorTest() {
        auto cpuSource = std::make_unique<testing::FakeCpuSource>();
        auto diskSource = std::make_unique<SlowDiskSource>();
        cpu = cpuSource.get();
        disk = diskSource.get();
        disk->clock = &dispatcher.virtualClock();
        CollectionSources sources{
            .cpu = std::move(cpuSource),
            .memory = std::make_unique<testing::FakeMemorySource>(),
            .disk = std::move(diskSource),
            .network = std::make_unique<testing::FakeNetworkSource>(),
            .power = std::make_unique<testing::FakePowerSource>(),
            .gpu = std::make_unique<testing::FakeGpuSource>(),
            .system = std::make_unique<testing::FakeSystemInfoSource>(),
        };
        ProcessSources processSources{.processes = std::make_shared<FakeProcessSource>()};
        aggregator = std::make_unique<MetricsAggregator>(std::move(sources),
                                                         std::move(processSources), dispatcher);
    }

    static MonitorConfig allOff() {
        MonitorConfig config;
        config.collectCPU = config.collectMemory = config.collectDisk = config.collectNetwork =
            config.collectProcesses = config.collectPower = config.collectGPU =
                config.collectSystem = false;
        return config;
    }

    testing::VirtualDispatcher dispatcher;
    testing::FakeCpuSource* cpu = nullptr;
    SlowDiskSource* disk = nullptr;
    std::unique_ptr<MetricsAggregator> aggregator;
};

TEST_F(MetricsAggregatorTest, TogglesOffLeaveSectionsOutAndFailedSourcesOnlyFields) {
    const SystemMetrics metrics = aggregator->collectAll(allOff(), true);
    SystemMetrics expected;
    expected.timestamp = Formatters::localIso8601WithOffset(dispatcher.clock().now());
    expected.hostname = "test-host";
    EXPECT_EQ(metrics, expected);

    // A failed source leaves its fields absent, never its section.
    cpu->ticks = tl::unexpected(ReadError::permission);
    cpu->loads.reset();
    const SystemMetrics failed = aggregator->collectAll(MonitorConfig{}, true);
    ASSERT_TRUE(failed.cpu && failed.memory);
    EXPECT_EQ(std::tuple(failed.cpu->cpuCount, failed.cpu->loadAverage1m), std::tuple(8, 0.0));
    EXPECT_FALSE(failed.cpu->userPercent);
}

TEST_F(MetricsAggregatorTest, ProcessListsFollowTheirOwnToggleAndThoseOfNetworkAndDisk) {
    const SystemMetrics all = aggregator->collectAll(MonitorConfig{}, true);
    ASSERT_TRUE(all.cpu && all.memory && all.disk && all.network && all.processes && all.power &&
                all.gpu && all.system);
    EXPECT_EQ(all.processes->processCount, 2);
    EXPECT_TRUE(all.processes->topNetwork);
    EXPECT_TRUE(all.processes->topDisk);

    MonitorConfig noNetwork;
    noNetwork.collectNetwork = false;
    const SystemMetrics partial = aggregator->collectAll(noNetwork, true);
    EXPECT_FALSE(partial.network);
    ASSERT_TRUE(partial.processes);
    EXPECT_TRUE(partial.processes->topCPU && partial.processes->topMemory &&
                partial.processes->topDisk);
    EXPECT_FALSE(partial.processes->topNetwork);

    MonitorConfig noProcesses;
    noProcesses.collectProcesses = false;
    EXPECT_FALSE(aggregator->collectAll(noProcesses, true).processes);
    EXPECT_FALSE(aggregator->collectFastMetrics(MonitorConfig{}).processes);
}

TEST_F(MetricsAggregatorTest, OnlyStorageSamplesMoveTheCpuAndDiskBaselines) {
    const auto tick = [&](uint64_t busy, uint64_t idle) {
        cpu->ticks = CpuTicks{.user = busy, .system = 0, .idle = idle};
    };
    tick(0, 0);
    disk->counters = DiskIOCounters{0, 0};
    aggregator->collectAll(MonitorConfig{}, true);  // baseline B at (0, 0)

    dispatcher.advance(2s);
    tick(10, 90);
    disk->counters = DiskIOCounters{2048, 0};
    EXPECT_EQ(aggregator->collectAll(MonitorConfig{}, false).cpu->userPercent, 10.0);
    dispatcher.advance(2s);
    tick(50, 150);
    disk->counters = DiskIOCounters{4096, 0};
    const SystemMetrics fast = aggregator->collectFastMetrics(MonitorConfig{});
    EXPECT_EQ(fast.cpu->userPercent, 25.0);
    EXPECT_EQ(fast.disk->readKBPerSec, 1.0);  // 4 KiB over the 4 s since B

    const SystemMetrics stored = aggregator->collectAll(MonitorConfig{}, true);
    EXPECT_EQ(stored.cpu->userPercent, 25.0);
    EXPECT_EQ(stored.disk->readKBPerSec, 1.0);

    dispatcher.advance(2s);
    tick(60, 240);
    disk->counters = DiskIOCounters{6144, 0};
    const SystemMetrics next = aggregator->collectAll(MonitorConfig{}, true);
    EXPECT_EQ(next.cpu->userPercent, 10.0);
    EXPECT_EQ(next.disk->readKBPerSec, 1.0);
}

TEST_F(MetricsAggregatorTest, DebugLevelLogsTheTimingOfEveryThirtiethFullSample) {
    testing::LogRecorder log;
    MonitorConfig info;
    info.logLevel = LogLevel::info;
    for (int i = 0; i < 100; ++i)
        aggregator->collectAll(info, true);
    EXPECT_TRUE(log.matching("Metrics collected in").empty());

    MonitorConfig debug;
    debug.logLevel = LogLevel::debug;
    debug.collectGPU = false;
    for (int i = 1; i <= 95; ++i) {
        aggregator->collectAll(debug, i % 2 == 0);
        aggregator->collectFastMetrics(debug);  // never counted
        EXPECT_EQ(log.matching("Metrics collected in").size(), static_cast<size_t>(i / 30)) << i;
    }
    EXPECT_EQ(log.matching("Metrics collected in")[0],
              "Metrics collected in 1.5ms [cpu=0.0ms, mem=0.0ms, disk=1.5ms, net=0.0ms, "
              "proc=0.0ms, power=0.0ms, sys=0.0ms]");
    for (const auto& entry : log.entries()) {
        if (!entry.message.starts_with("Metrics collected in")) continue;
        EXPECT_EQ(std::tuple(entry.level, entry.category),
                  std::tuple(Logger::Level::debug, Logger::Category::collection));
    }
}

}  // namespace
}  // namespace ostrel
