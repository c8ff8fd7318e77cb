#include "app/command_client.h"

#include <gtest/gtest.h>

#include <sstream>

#include "app/command_protocol.h"
#include "support/memory_preferences_store.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
namespace P = CommandProtocol;

constexpr int64_t kOwnPid = 4242;

// The running application as the client sees it: a lock that is held or not, and a hook that
// answers posted commands by writing preferences, as the real one does.
class FakeChannel : public CommandChannel {
  public:
    bool instanceRunning() const override {
        ++probes;
        return running;
    }
    size_t post(const PreferenceDictionary& userInfo) override {
        posted.push_back(userInfo);
        if (onPost) onPost(userInfo);
        return running ? 1 : 0;
    }
    tl::expected<std::unique_ptr<CommandListener>, std::string> listen(CommandReceiver) override {
        return tl::unexpected(std::string("not in a client"));
    }

    std::vector<std::string> postedCommands() const {
        std::vector<std::string> commands;
        for (const auto& userInfo : posted) {
            commands.push_back(*userInfo.at("command").get<std::string>());
        }
        return commands;
    }

    bool running = false;
    mutable int probes = 0;
    std::vector<PreferenceDictionary> posted;
    std::function<void(const PreferenceDictionary&)> onPost;
};

class FakeLauncher : public AppLauncher {
  public:
    tl::expected<void, LaunchFailure> launchApplication() override {
        ++launches;
        return outcome;
    }
    int launches = 0;
    tl::expected<void, LaunchFailure> outcome;
};

class CommandClientTest : public ::testing::Test {
  protected:
    CommandClient client() {
        return CommandClient(CommandClient::Platform{
                                 .preferences = preferences,
                                 .channel = channel,
                                 .launcher = launcher,
                                 .listProcessesByName = [this] { return processList; },
                                 .sleep = [this](Duration step) { slept.push_back(step); },
                                 .ownProcessId = kOwnPid,
                                 .showDate = [](Date) { return std::string("DATE"); },
                             },
                             out);
    }
    std::string run(std::vector<std::string> words) {
        words.insert(words.begin(), "ostrel");
        client().executeCommand(CLIArguments::parse(words).value());
        return out.str();
    }

    testing::MemoryPreferencesStore preferences;
    FakeChannel channel;
    FakeLauncher launcher;
    std::optional<std::string> processList;
    std::vector<Duration> slept;
    std::ostringstream out;
};

TEST_F(CommandClientTest, SettingsAreStoredEvenWhenNoInstanceRuns) {
    EXPECT_EQ(
        run({"--interval", "3", "--duration", "45", "--watch", "a", "--watch", "b", "--stop"}),
        "Collection interval set to 3 seconds\n"
        "Duration limit set to 45 minutes\n"
        "Watched processes: a, b\n"
        "App is not running\n");
    EXPECT_EQ(preferences.integer("intervalSeconds"), 3);
    EXPECT_EQ(preferences.integer("captureDurationMinutes"), 45);
    EXPECT_EQ(preferences.stringArray("watchedProcesses"), (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(channel.posted.empty());
}

TEST_F(CommandClientTest, ManagedSettingsWarnButTheDurationIsWrittenRegardless) {
    preferences.force("intervalSeconds", 10);
    preferences.force("watchedProcesses", PreferenceValue(std::vector<std::string>{"x"}));
    preferences.force("captureDurationMinutes", 30);
    EXPECT_EQ(run({"--interval", "3", "--duration", "45", "--watch", "a", "--quit"}),
              "Warning: intervalSeconds is managed by MDM and cannot be changed via CLI\n"
              "Duration limit set to 45 minutes\n"
              "Warning: watchedProcesses is managed by MDM and cannot be changed via CLI\n"
              "App is not running\n");
    EXPECT_FALSE(preferences.userValue("intervalSeconds"));
    EXPECT_FALSE(preferences.userValue("watchedProcesses"));
    EXPECT_EQ(preferences.userValue("captureDurationMinutes"), PreferenceValue(45));
}

TEST_F(CommandClientTest, OnlyTheFirstApplicableCommandIsSent) {
    channel.running = true;
    EXPECT_EQ(run({"--quit", "--stop", "--clear-pins"}),
              "Stop command sent — collection stopped (app stays running)\n");
    EXPECT_EQ(channel.postedCommands(), std::vector<std::string>{"stop"});

    out.str("");
    channel.posted.clear();
    EXPECT_EQ(run({"--quit", "--clear-pins"}), "Quit command sent\n");
    EXPECT_EQ(channel.postedCommands(), std::vector<std::string>{"quit"});
}

TEST_F(CommandClientTest, ProcessListIsTheSecondWayToFindAnInstance) {
    processList = "  4242 \n";
    EXPECT_EQ(run({"--stop"}), "App is not running\n");
    processList = "4242\nnot-a-pid\n\n 977\n";
    out.str("");
    EXPECT_EQ(run({"--stop"}), "Stop command sent — collection stopped (app stays running)\n");

    EXPECT_FALSE(listsOtherProcess("", kOwnPid));
    EXPECT_FALSE(listsOtherProcess("4242\n99999999999\n12x\n", kOwnPid));
    EXPECT_TRUE(listsOtherProcess("4242\n\t17\r\n", kOwnPid));
}

TEST_F(CommandClientTest, StartWithoutInstanceLeavesThePendingCommandAndLaunches) {
    EXPECT_EQ(run({"--start"}), "App launched - monitoring will start shortly\n");
    EXPECT_EQ(preferences.string(P::pendingCommandKey), "start");
    EXPECT_EQ(launcher.launches, 1);
    EXPECT_TRUE(channel.posted.empty());
}

TEST_F(CommandClientTest, LaunchFailuresAreReportedAsWarnings) {
    launcher.outcome = tl::unexpected(LaunchFailure{LaunchFailure::Kind::applicationNotFound});
    EXPECT_EQ(run({"--start"}), "Warning: Could not find app bundle. Please start it manually.\n");
    out.str("");
    launcher.outcome =
        tl::unexpected(LaunchFailure{LaunchFailure::Kind::couldNotStart, "Permission denied"});
    EXPECT_EQ(run({"--dashboard"}), "Warning: Could not launch app: Permission denied\n");
    out.str("");
    launcher.outcome = tl::unexpected(LaunchFailure{LaunchFailure::Kind::exitStatus, {}, 3});
    EXPECT_EQ(run({"--start"}), "Warning: Failed to launch app (exit code 3)\n");
}

TEST_F(CommandClientTest, StartAgainstARunningInstancePrintsItsReply) {
    channel.running = true;
    preferences.set(P::commandResultKey, PreferenceDictionary{{"result", "stale"}});
    channel.onPost = [this](const PreferenceDictionary&) {
        // The stale reply was cleared before posting.
        EXPECT_FALSE(preferences.hasObject(P::commandResultKey));
        preferences.set(P::commandResultKey,
                        PreferenceDictionary{
                            {"result", "already_running"},
                            {"intervalSeconds", 3},
                            {"durationDesc", "30m"},
                            {"settingsApplied", PreferenceValue(std::vector<std::string>{
                                                    "interval: 3s", "duration: 30m"})},
                        });
    };
    EXPECT_EQ(run({"--start", "--interval", "3", "--duration", "30", "--watch", "w"}),
              "Collection interval set to 3 seconds\n"
              "Duration limit set to 30 minutes\n"
              "Watched processes: w\n"
              "Collection already running\n"
              "  Started: unknown\n"
              "  Interval: 3s\n"
              "  Duration: 30m\n"
              "  Records collected: 0\n"
              "Settings updated: interval: 3s, duration: 30m\n");
    ASSERT_EQ(channel.posted.size(), 1u);
    EXPECT_EQ(channel.posted[0],
              (PreferenceDictionary{
                  {"command", "start"},
                  {"durationMinutes", 30},
                  {"intervalSeconds", 3},
                  {"watchedProcesses", PreferenceValue(std::vector<std::string>{"w"})},
              }));
    EXPECT_FALSE(preferences.hasObject(P::commandResultKey));
    EXPECT_EQ(preferences.string(P::pendingCommandKey), "start");
    EXPECT_EQ(slept, std::vector<Duration>{100ms});
    EXPECT_EQ(launcher.launches, 0);
}

TEST_F(CommandClientTest, StartWithoutReplyStillSaysStartedAfterTwoSeconds) {
    channel.running = true;
    EXPECT_EQ(run({"--start"}), "Monitoring started\n");
    EXPECT_EQ(slept, std::vector<Duration>(20, 100ms));
    EXPECT_EQ(channel.posted[0], (PreferenceDictionary{{"command", "start"}}));
}

TEST_F(CommandClientTest, HeadlessSwitchRestartsARunningInstance) {
    channel.running = true;
    channel.onPost = [this](const PreferenceDictionary&) { channel.running = false; };
    EXPECT_EQ(run({"--headless", "--start"}),
              "Headless mode enabled\nApp restarted with headless mode enabled\n");
    EXPECT_EQ(channel.postedCommands(), std::vector<std::string>{"quit"});
    EXPECT_EQ(slept, std::vector<Duration>{200ms});
    EXPECT_EQ(preferences.boolean("headlessMode"), true);
    EXPECT_EQ(launcher.launches, 1);
    EXPECT_FALSE(preferences.hasObject(P::pendingCommandKey));
}

TEST_F(CommandClientTest, HeadlessSwitchWaitsThreeSecondsAtMostThenLaunchesAnyway) {
    channel.running = true;
    EXPECT_EQ(run({"--no-headless"}),
              "Headless mode disabled\nApp restarted with headless mode disabled\n");
    EXPECT_EQ(slept, std::vector<Duration>(15, 200ms));
    EXPECT_EQ(launcher.launches, 1);
}

TEST_F(CommandClientTest, ManagedHeadlessModeEndsTheCommand) {
    preferences.force("headlessMode", false);
    EXPECT_EQ(run({"--headless"}),
              "Warning: headlessMode is managed by MDM and cannot be changed via CLI\n");
    EXPECT_EQ(launcher.launches, 0);
    EXPECT_FALSE(preferences.userValue("headlessMode"));
}

TEST_F(CommandClientTest, DashboardAndClearPins) {
    EXPECT_EQ(run({"--dashboard"}), "");
    EXPECT_EQ(preferences.string(P::pendingCommandKey), "dashboard");
    EXPECT_EQ(launcher.launches, 1);

    channel.running = true;
    EXPECT_EQ(run({"--dashboard"}), "");
    preferences.set("pinnedProcesses", PreferenceValue(std::vector<std::string>{"a"}));
    EXPECT_EQ(run({"--clear-pins"}), "Pinned processes cleared\n");
    EXPECT_FALSE(preferences.hasObject("pinnedProcesses"));
    EXPECT_EQ(channel.postedCommands(), (std::vector<std::string>{"dashboard", "clear-pins"}));
    EXPECT_EQ(launcher.launches, 1);
}

TEST_F(CommandClientTest, StatusAsksOnlyTheLockAndPrintsTheReport) {
    processList = "977\n";
    client().requestAndPrintStatus();
    EXPECT_EQ(out.str(), "Ostrel is not running\n");

    out.str("");
    channel.running = true;
    preferences.set(P::statusKey, PreferenceDictionary{{"isRunning", true}});
    client().requestAndPrintStatus();
    EXPECT_EQ(out.str(), "Failed to get status from running app\n");
    EXPECT_EQ(slept.size(), 20u);

    out.str("");
    channel.onPost = [this](const PreferenceDictionary& userInfo) {
        EXPECT_EQ(userInfo, (PreferenceDictionary{{"command", "status"}}));
        preferences.set(P::statusKey,
                        PreferenceDictionary{{"isRunning", true},
                                             {"captureStartTime", "2026-11-22T10:00:00Z"}});
    };
    client().requestAndPrintStatus();
    EXPECT_TRUE(out.str().starts_with("Ostrel Status\n==================\nRunning: Yes\n"));
    EXPECT_NE(out.str().find("Started: DATE\n"), std::string::npos);
    EXPECT_FALSE(preferences.hasObject(P::statusKey));
}

}  // namespace
}  // namespace ostrel
