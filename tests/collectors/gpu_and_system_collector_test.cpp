#include <gtest/gtest.h>

#include "collectors/fake_sources.h"
#include "collectors/gpu_collector.h"
#include "collectors/system_info_collector.h"
#include "support/log_recorder.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using testing::VirtualClock;

TEST(GPUCollector, TakesModelFromTheFirstDeviceAndStopsAtTheFirstUtilisation) {
    testing::FakeGpuSource source;
    source.devices = std::vector<AcceleratorReading>{
        {.model = "Integrated", .inUseMemoryBytes = 1},
        {.model = "Discrete",
         .coreCount = 40,
         .deviceUtilization = 140,
         .rendererUtilization = 101,
         .tilerUtilization = 3,
         .allocatedMemoryBytes = 7},
        {.model = "Third", .deviceUtilization = 5, .inUseMemoryBytes = 99},
    };
    VirtualClock clock;
    GPUCollector collector(source, clock);

    const GPUMetrics metrics = collector.collect();
    EXPECT_EQ(metrics.model, "Integrated");
    EXPECT_EQ(metrics.coreCount, 40);
    EXPECT_EQ(metrics.deviceUtilization, 100);
    EXPECT_EQ(metrics.rendererUtilization, 100);
    EXPECT_EQ(metrics.tilerUtilization, 3);
    EXPECT_EQ(metrics.inUseMemoryBytes, 1u);
    EXPECT_EQ(metrics.allocatedMemoryBytes, 7u);
    EXPECT_FALSE(metrics.topGPU);
}

TEST(GPUCollector, CachesEveryResultForTwoSecondsEvenAnEmptyOne) {
    testing::LogRecorder log;
    testing::FakeGpuSource source;
    VirtualClock clock;
    GPUCollector collector(source, clock);

    EXPECT_EQ(collector.collect(), GPUMetrics{});
    source.devices = std::vector<AcceleratorReading>{{.model = "Card"}};
    clock.advance(1999ms);
    EXPECT_EQ(collector.collect(), GPUMetrics{});
    EXPECT_EQ(source.reads, 1);

    clock.advance(1ms);
    EXPECT_EQ(collector.collect().model, "Card");
    EXPECT_EQ(source.reads, 2);

    clock.advance(2s);
    source.devices = tl::unexpected(ReadError::permission);
    EXPECT_EQ(collector.collect(), GPUMetrics{});
    EXPECT_EQ(log.matching("failed for IOAccelerator").size(), 1u);
}

struct SystemInfoFixture : ::testing::Test {
    testing::FakeSystemInfoSource source;
    testing::FakeGpuSource gpu;
    VirtualClock clock;
    SystemInfoCollector collector{source, gpu, clock};
};

TEST_F(SystemInfoFixture, UptimeCountsWholeSecondsSinceBoot) {
    source.boot =
        std::chrono::duration_cast<std::chrono::seconds>(clock.now().time_since_epoch()).count() -
        5400;
    clock.advance(999ms);  // truncated, not rounded
    source.version = OsVersion{6, 18, 44};
    const SystemInfo info = collector.collect();
    EXPECT_EQ(info.uptimeSeconds, 5400);
    EXPECT_EQ(info.uptimeHours, 1.5);
    EXPECT_EQ(info.macOSVersion, "6.18.44");

    testing::LogRecorder log;
    source.boot.reset();
    const SystemInfo without = collector.collect();
    EXPECT_FALSE(without.uptimeSeconds);
    EXPECT_FALSE(without.uptimeHours);
    EXPECT_EQ(log.matching("Failed to read kern.boottime").size(), 1u);
}

TEST_F(SystemInfoFixture, ChipDescriptionNamesTheCoresThatAreKnown) {
    source.brand = "Brand X";
    source.performance = 8;
    source.efficiency = 4;
    gpu.cores = 30;
    EXPECT_EQ(collector.collect().chipDescription, "Brand X with 12-core CPU (8P+4E), 30-core GPU");

    source.efficiency.reset();
    gpu.cores.reset();
    EXPECT_EQ(collector.collect().chipDescription, "Brand X with 8-core CPU");

    source.performance = 0;
    source.efficiency = 6;
    gpu.cores = 0;
    EXPECT_EQ(collector.collect().chipDescription, "Brand X with 6-core CPU");

    source.performance.reset();
    source.efficiency.reset();
    EXPECT_EQ(collector.collect().chipDescription, "Brand X");

    source.brand.reset();
    gpu.cores = 10;
    EXPECT_FALSE(collector.collect().chipDescription);
}

}  // namespace
}  // namespace ostrel
