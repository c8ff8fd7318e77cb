// Any value a settings file or a command datagram can hold, thrown at a running agent on
// virtual time. It must live on, keep every setting in range, and never let a timer fire
// without pause. The values are drawn from a fixed seed, so every run is the same run.
#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "app/app_delegate.h"
#include "config/setting_limits.h"
#include "monitor/monitor_fixture.h"
#include "records/formatters.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

class HostileInputTest : public testing::MonitorFixture {
  protected:
    ~HostileInputTest() override {
        handler.reset();
        delegate.reset();
        dispatcher.runUntilIdle();
    }

    // Values that broke clock, calendar or integer arithmetic, wrong types, and noise.
    PreferenceValue hostile() {
        constexpr auto max = std::numeric_limits<int64_t>::max();
        const PreferenceValue fixed[] = {
            0,
            -1,
            1,
            60,
            int64_t{153'722'868},
            int64_t{200'000'000},
            int64_t{3'000'000'000},
            int64_t{4'294'967'295},
            max,
            std::numeric_limits<int64_t>::min(),
            1e300,
            -1e300,
            std::numeric_limits<double>::quiet_NaN(),
            "99999999999999999999",
            "-5 minutes",
            true,
            PreferenceArray{1, "x"},
        };
        const uint64_t roll = random() % (std::size(fixed) + 3);
        if (roll < std::size(fixed)) return fixed[roll];
        return static_cast<int64_t>(random());
    }

    std::mt19937_64 random{11};
    std::unique_ptr<AppDelegate> delegate;
    std::unique_ptr<CommandHandler> handler;
};

TEST_F(HostileInputTest, NoSettingOrDatagramStopsOrSpinsTheAgent) {
    // Upload on without a collector: every upload cycle leaves one audit entry to count.
    preferences->set("uploadEnabled", true);
    preferences->set("autoStart", true);
    delegate = std::make_unique<AppDelegate>(AppDelegate::Services{
        .dispatcher = &dispatcher,
        .preferences = preferences,
        .notifier = std::make_unique<testing::FakeNotifier>(),
        .channel = makeCommandChannel(dir / "channel"),
        .monitorDependencies = [this](AlertManager& shared) { return dependencies(shared); },
        .endMainLoop = [] {},
    });
    delegate->applicationDidFinishLaunching();
    dispatcher.runUntilIdle();
    // A second listener's handler over the same application: what a datagram reaches.
    handler = std::make_unique<CommandHandler>(*delegate, *preferences, dispatcher.clock(),
                                               [](Date date) { return Formatters::iso8601(date); });

    const char* keys[] = {"intervalSeconds",
                          "captureDurationMinutes",
                          "maxStorageMB",
                          "retentionDays",
                          "uploadIntervalMinutes",
                          "alertCPUThreshold",
                          "alertSustainedSeconds",
                          "alertMemorySustainedSeconds",
                          "alertCooldownMinutes",
                          "alertMemoryPressureLevel",
                          "logLevel",
                          "alertsEnabled"};
    const char* commands[] = {"start", "stop", "reload", "status", "upload", "START"};
    for (int round = 0; round < 150; ++round) {
        preferences->set(keys[random() % std::size(keys)], hostile());
        PreferenceDictionary datagram{{"command", commands[random() % std::size(commands)]}};
        if (random() % 2) datagram["durationMinutes"] = hostile();
        if (random() % 2) datagram["intervalSeconds"] = hostile();
        handler->handleCommandNotification(datagram);

        const size_t cyclesBefore = audits("upload_failed").size();
        const auto minutes = static_cast<int64_t>(random() % 4);
        dispatcher.advance(std::chrono::minutes(minutes) + 1s);
        // One cycle a minute at most, plus the one an upload command asks for.
        EXPECT_LE(audits("upload_failed").size() - cyclesBefore, static_cast<size_t>(minutes + 1))
            << "round " << round;

        const MonitorConfig config = delegate->monitor().currentConfig();
        for (const SettingRange& range : kSettingRanges) {
            EXPECT_GE(config.*range.field, range.lowest) << "round " << round;
            EXPECT_LE(config.*range.field, range.highest) << "round " << round;
        }
        if (const auto end = delegate->monitor().captureEndTime.get()) {
            EXPECT_LE(*end - dispatcher.clock().now(),
                      std::chrono::minutes(setting_limits::kMaxCaptureDurationMinutes));
        }
    }
    EXPECT_GT(delegate->monitor().successCount.get(), 0);
}

}  // namespace
}  // namespace ostrel
