#include "app/app_delegate.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <limits>
#include <random>

#include "app/status_menu.h"
#include "config/setting_limits.h"
#include "monitor/monitor_fixture.h"
#include "records/formatters.h"

namespace ostrel {
namespace {

using Words = std::vector<std::string>;
using namespace std::chrono_literals;

// Values that broke clock, calendar or integer arithmetic, wrong types, and noise.
PreferenceValue hostile(std::mt19937_64& random) {
    const PreferenceValue fixed[] = {
        0,
        -1,
        60,
        int64_t{153'722'868},
        int64_t{200'000'000},
        int64_t{3'000'000'000},
        int64_t{4'294'967'295},
        std::numeric_limits<int64_t>::max(),
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

// Records what the delegate asks of its tray.
struct RecordingInterface : UserInterface {
    explicit RecordingInterface(Words& calls) : calls_(calls) {}
    void stopEventMonitor() override { calls_.push_back("stopEventMonitor"); }
    void openDashboard() override { calls_.push_back("dashboard"); }
    Words& calls_;
};

class AppDelegateTest : public testing::MonitorFixture {
  protected:
    ~AppDelegateTest() override {
        delegate.reset();
        dispatcher.runUntilIdle();
    }

    // Launches a delegate over the fixture's fakes, with `settings` in the store.
    void launch(const PreferenceDictionary& settings, UserInterfaceFactory userInterface = {}) {
        delegate.reset();
        dispatcher.runUntilIdle();
        log.clear();
        for (const auto& [key, value] : settings)
            preferences->set(key, value);
        delegate = std::make_unique<AppDelegate>(AppDelegate::Services{
            .dispatcher = &dispatcher,
            .preferences = preferences,
            .notifier = std::make_unique<testing::FakeNotifier>(),
            .channel = makeCommandChannel(dir / "channel"),
            .monitorDependencies = [this](AlertManager& shared) { return dependencies(shared); },
            .makeUserInterface = std::move(userInterface),
            .endMainLoop = [this] { calls.push_back("endMainLoop"); },
        });
        delegate->applicationDidFinishLaunching();
        dispatcher.runUntilIdle();
    }

    bool running() const { return delegate->monitor().isRunning.get(); }

    Words calls;
    std::unique_ptr<AppDelegate> delegate;
};

TEST_F(AppDelegateTest, AutoStartNeedsADestinationAndHeadlessModeImpliesIt) {
    launch({});
    EXPECT_FALSE(running());

    launch({{"autoStart", true}, {"captureDurationMinutes", 30}});
    EXPECT_TRUE(running());
    // The session's duration went to the capture and is forgotten for the next one.
    EXPECT_FALSE(preferences->hasObject("captureDurationMinutes"));
    EXPECT_TRUE(delegate->monitor().captureEndTime.get().has_value());

    launch({{"autoStart", false}, {"headlessMode", true}});
    EXPECT_TRUE(running());
    EXPECT_EQ(log.matching("Running in headless mode (no menu bar icon)").size(), 1u);

    // Nowhere to put samples: auto-start does not run, and says so.
    launch({{"storageEnabled", false}, {"uploadEnabled", true}, {"hecEndpoint", "https://h"}});
    EXPECT_FALSE(running());
    EXPECT_EQ(log.matching("Auto-start skipped: No valid destination configured").size(), 1u);

    launch({{"hecToken", "t"}});
    EXPECT_TRUE(running());
}

TEST_F(AppDelegateTest, RunsOnWithoutATrayAndShutsDownInOrder) {
    launch({}, [](AppDelegate&) {
        return tl::expected<std::unique_ptr<UserInterface>, std::string>(tl::unexpect,
                                                                         "no display available");
    });
    EXPECT_EQ(log.matching("No menu bar icon (no display available); running without a user "
                           "interface")
                  .size(),
              1u);
    delegate->openDashboard();
    EXPECT_EQ(log.matching("Dashboard not shown: running without a user interface").size(), 1u);

    launch({{"autoStart", true}},
           [this](AppDelegate&) -> tl::expected<std::unique_ptr<UserInterface>, std::string> {
               return std::make_unique<RecordingInterface>(calls);
           });
    const auto socket = dir / "channel" / (std::to_string(getpid()) + ".sock");
    EXPECT_TRUE(std::filesystem::exists(socket));
    delegate->openDashboard();
    delegate->quitApp();
    // Quitting takes no more commands: a launch meanwhile waits for it instead of handing over.
    EXPECT_FALSE(std::filesystem::exists(socket));
    delegate->terminate();
    log.clear();
    delegate->applicationWillTerminate();

    EXPECT_EQ(calls, (Words{"dashboard", "endMainLoop", "stopEventMonitor"}));
    EXPECT_FALSE(running());
    Words messages;
    for (const auto& entry : log.entries())
        messages.push_back(entry.message);
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.front(), "[monitor_stop] stopped_by_limit=false");
    EXPECT_EQ(messages.back(), "Application shutdown complete");
}

// Any value a settings file or a command datagram can hold, thrown at a running agent on
// virtual time: it lives on, keeps every setting in range, and no timer fires without pause.
// The values come from a fixed seed, so every run is the same run.
TEST_F(AppDelegateTest, NoSettingOrDatagramStopsOrSpinsTheAgent) {
    // Upload on without a collector: every upload cycle leaves one audit entry to count.
    launch({{"uploadEnabled", true}, {"autoStart", true}});
    // A handler over the same application: what a datagram reaches once decoded.
    CommandHandler handler(*delegate, *preferences, dispatcher.clock(),
                           [](Date date) { return Formatters::iso8601(date); });
    std::mt19937_64 random(11);
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
        preferences->set(keys[random() % std::size(keys)], hostile(random));
        PreferenceDictionary datagram{{"command", commands[random() % std::size(commands)]}};
        if (random() % 2) datagram["durationMinutes"] = hostile(random);
        if (random() % 2) datagram["intervalSeconds"] = hostile(random);
        handler.handleCommandNotification(datagram);

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

// A running monitor can always be stopped, whatever its destination became.
TEST(StatusMenu, StartIsOfferedOnlyWithADestination) {
    EXPECT_FALSE(statusMenuItems(false, false)[0].enabled);
    EXPECT_TRUE(statusMenuItems(false, true)[0].enabled);
    const StatusMenuItem stop = statusMenuItems(true, false)[0];
    EXPECT_EQ(stop.title, "Stop Monitoring");
    EXPECT_TRUE(stop.enabled);
}

}  // namespace
}  // namespace ostrel
