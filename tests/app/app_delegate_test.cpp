#include "app/app_delegate.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "app/status_menu.h"
#include "monitor/monitor_fixture.h"

namespace ostrel {
namespace {

using Words = std::vector<std::string>;

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
