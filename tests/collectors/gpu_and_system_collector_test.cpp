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

TEST(GPUCollector, FirstDeviceWithAUtilisationCappedAndEveryResultKeptForTwoSeconds) {
    testing::LogRecorder log;
    testing::FakeGpuSource source;
    VirtualClock clock;
    GPUCollector collector(source, clock);
    EXPECT_EQ(collector.collect(), GPUMetrics{});  // no device: kept like any result

    // The model of the first device; figures up to the first that reports a utilisation.
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
    clock.advance(1999ms);
    EXPECT_EQ(collector.collect(), GPUMetrics{});
    EXPECT_EQ(source.reads, 1);
    clock.advance(1ms);
    EXPECT_EQ(collector.collect(), (GPUMetrics{.model = "Integrated",
                                               .coreCount = 40,
                                               .deviceUtilization = 100,
                                               .rendererUtilization = 100,
                                               .tilerUtilization = 3,
                                               .inUseMemoryBytes = 1,
                                               .allocatedMemoryBytes = 7}));
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
    const auto chip = [&](std::optional<std::string> brand, std::optional<int64_t> performance,
                          std::optional<int64_t> efficiency, std::optional<int64_t> gpuCores) {
        std::tie(source.brand, source.performance, source.efficiency, gpu.cores) =
            std::tie(brand, performance, efficiency, gpuCores);
        return collector.collect().chipDescription;
    };
    EXPECT_EQ(chip("Brand X", 8, 4, 30), "Brand X with 12-core CPU (8P+4E), 30-core GPU");
    EXPECT_EQ(chip("Brand X", 8, {}, {}), "Brand X with 8-core CPU");
    EXPECT_EQ(chip("Brand X", 0, 6, 0), "Brand X with 6-core CPU");
    EXPECT_EQ(chip("Brand X", {}, {}, {}), "Brand X");
    EXPECT_FALSE(chip({}, {}, {}, 10));
}

}  // namespace
}  // namespace ostrel
