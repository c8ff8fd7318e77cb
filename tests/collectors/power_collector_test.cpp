#include "collectors/power_collector.h"

#include <gtest/gtest.h>

#include "collectors/fake_sources.h"
#include "support/log_recorder.h"

namespace ostrel {
namespace {

TEST(PowerCollector, BatteryPercentTruncatesAndLaterSourcesOverwriteOnlyWhatTheySay) {
    testing::FakePowerSource source;
    PowerCollector collector(source);
    const auto battery = [&](std::vector<PowerSourceDescription> sources) {
        source.sources = std::move(sources);
        PowerMetrics metrics;
        collector.collectBatteryInfo(metrics);
        return metrics;
    };
    EXPECT_EQ(battery({}), PowerMetrics{});
    EXPECT_EQ(battery({{.state = "Battery Power",
                        .currentCapacity = 50,
                        .maxCapacity = 80,
                        .isCharging = false}}),
              (PowerMetrics{.onBattery = true,
                            .onAC = false,
                            .batteryPercent = 62,
                            .batteryState = "discharging"}));
    EXPECT_EQ(battery({{.state = "AC Power", .isCharging = false, .isCharged = true}}).batteryState,
              "charged");
    // An unknown state is neither; a maximum of 0 gives no percentage.
    EXPECT_EQ(battery({{.state = "Off Line", .currentCapacity = 5, .maxCapacity = 0}}),
              (PowerMetrics{.onBattery = false, .onAC = false}));

    // Charging wins over charged; the second source says nothing of charging.
    EXPECT_EQ(
        battery({
            {.state = "Battery Power",
             .currentCapacity = 1,
             .maxCapacity = 2,
             .isCharging = true,
             .isCharged = true},
            {.state = "AC Power", .currentCapacity = 3, .maxCapacity = 4, .isCharged = true},
        }),
        (PowerMetrics{
            .onBattery = false, .onAC = true, .batteryPercent = 75, .batteryState = "charging"}));
}

TEST(PowerCollector, AssertionsSumTheHoldersOfSleepOnly) {
    testing::LogRecorder log;
    testing::FakePowerSource source;
    PowerCollector collector(source);
    const auto count = [&] {
        PowerMetrics metrics;
        collector.collectSleepAssertions(metrics);
        return metrics.preventSleepAssertions;
    };

    source.assertions = std::vector<SleepAssertion>{{"PreventUserIdleSystemSleep", 2},
                                                    {"PreventUserIdleDisplaySleep", 1},
                                                    {"PreventSystemSleep", 0},
                                                    {"ExternalMedia", 4},
                                                    {"PreventSystemSleepOnLid", -3}};
    EXPECT_EQ(count(), 3);
    source.assertions = std::vector<SleepAssertion>{};
    EXPECT_EQ(count(), 0);

    // A failing source is logged once, not on every sample.
    source.assertions = tl::unexpected(ReadError::unsupported);
    EXPECT_FALSE(count());
    EXPECT_FALSE(count());
    ASSERT_EQ(log.matching("Failed to get power assertions").size(), 1u);
    EXPECT_EQ(log.entries()[0].level, Logger::Level::debug);
}

}  // namespace
}  // namespace ostrel
