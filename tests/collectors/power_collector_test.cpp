#include "collectors/power_collector.h"

#include <gtest/gtest.h>

#include "collectors/fake_sources.h"
#include "support/log_recorder.h"

namespace ostrel {
namespace {

PowerMetrics battery(testing::FakePowerSource& source) {
    PowerCollector collector(source);
    PowerMetrics metrics;
    collector.collectBatteryInfo(metrics);
    return metrics;
}

TEST(PowerCollectorBattery, TruncatesThePercentageAndNamesTheChargingState) {
    testing::FakePowerSource source;
    source.sources = {
        {.state = "Battery Power", .currentCapacity = 50, .maxCapacity = 80, .isCharging = false}};
    const PowerMetrics discharging = battery(source);
    EXPECT_EQ(discharging.batteryPercent, 62);
    EXPECT_EQ(discharging.batteryState, "discharging");
    EXPECT_EQ(discharging.onBattery, true);
    EXPECT_EQ(discharging.onAC, false);

    source.sources = {{.state = "AC Power", .isCharging = false, .isCharged = true}};
    EXPECT_EQ(battery(source).batteryState, "charged");
    source.sources = {{.state = "AC Power", .isCharging = true, .isCharged = true}};
    EXPECT_EQ(battery(source).batteryState, "charging");

    // An unknown state is neither; a maximum of 0 gives no percentage.
    source.sources = {{.state = "Off Line", .currentCapacity = 5, .maxCapacity = 0}};
    EXPECT_EQ(battery(source), (PowerMetrics{.onBattery = false, .onAC = false}));
}

TEST(PowerCollectorBattery, LaterSourcesOverwriteOnlyWhatTheySay) {
    testing::FakePowerSource source;
    EXPECT_EQ(battery(source), PowerMetrics{});

    source.sources = {
        {.state = "Battery Power", .currentCapacity = 1, .maxCapacity = 2, .isCharging = true},
        {.state = "AC Power", .currentCapacity = 3, .maxCapacity = 4},
    };
    const PowerMetrics metrics = battery(source);
    EXPECT_EQ(metrics.onAC, true);
    EXPECT_EQ(metrics.batteryPercent, 75);
    EXPECT_EQ(metrics.batteryState, "charging");
}

TEST(PowerCollectorAssertions, SumsHoldersOfSleepOnly) {
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

    source.assertions = tl::unexpected(ReadError::unsupported);
    EXPECT_FALSE(count());
    ASSERT_EQ(log.matching("Failed to get power assertions").size(), 1u);
    EXPECT_EQ(log.entries()[0].level, Logger::Level::debug);
}

}  // namespace
}  // namespace ostrel
