#include "app/command_client.h"

#include <gtest/gtest.h>

#include <sstream>

#include "app/command_protocol.h"
#include "support/memory_preferences_store.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using Words = std::vector<std::string>;
namespace P = CommandProtocol;

// The running application as the client sees it: the running mark held or not, a listener
// there or not, and a hook that answers a posted command by writing preferences, as the real
// one does.
struct FakeChannel : CommandChannel {
    bool instanceRunning() const override { return running; }
    bool otherInstanceListening() const override { return running && listening; }
    tl::expected<std::unique_ptr<InstanceClaim>, std::string> claimInstance() override {
        return tl::unexpected(std::string("clients claim nothing"));
    }
    size_t post(const PreferenceDictionary& userInfo) override {
        posted.push_back(userInfo);
        commands.push_back(*userInfo.at("command").get<std::string>());
        const bool reached = otherInstanceListening();
        if (onPost) onPost(userInfo);
        return reached;
    }
    tl::expected<std::unique_ptr<CommandListener>, std::string> listen(CommandReceiver) override {
        return tl::unexpected(std::string("clients do not listen"));
    }
    bool running = false;
    bool listening = true;
    std::vector<PreferenceDictionary> posted;
    Words commands;
    std::function<void(const PreferenceDictionary&)> onPost;
};

struct FakeLauncher : AppLauncher {
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
        return CommandClient(
            {preferences, channel, launcher, [this](Duration step) { slept.push_back(step); },
             [](Date) { return std::string("DATE"); }},
            out);
    }
    std::string run(Words words) {
        out.str("");
        words.insert(words.begin(), "ostrel");
        auto commandClient = client();
        commandClient.executeCommand(CLIArguments::parse(words).value());
        savedEverything = commandClient.savedEverything();
        return out.str();
    }

    testing::MemoryPreferencesStore preferences;
    FakeChannel channel;
    FakeLauncher launcher;
    std::vector<Duration> slept;
    std::ostringstream out;
    bool savedEverything = true;
};

TEST_F(CommandClientTest, SettingsAreStoredFirstUnlessManagedEvenWithoutInstance) {
    EXPECT_EQ(
        run({"--interval", "3", "--duration", "45", "--watch", "a", "--watch", "b", "--stop"}),
        "Collection interval set to 3 seconds\nDuration limit set to 45 minutes\n"
        "Watched processes: a, b\nApp is not running\n");
    EXPECT_EQ(preferences.integer("intervalSeconds"), 3);
    EXPECT_EQ(preferences.stringArray("watchedProcesses"), (Words{"a", "b"}));

    preferences.force("intervalSeconds", 10);
    preferences.force("watchedProcesses", PreferenceValue(Words{"x"}));
    preferences.force("captureDurationMinutes", 30);
    EXPECT_EQ(run({"--interval", "4", "--duration", "50", "--watch", "c", "--quit"}),
              "Warning: intervalSeconds is managed by MDM and cannot be changed via CLI\n"
              "Duration limit set to 50 minutes\n"
              "Warning: watchedProcesses is managed by MDM and cannot be changed via CLI\n"
              "App is not running\n");
    EXPECT_EQ(preferences.userValue("intervalSeconds"), PreferenceValue(3));
    // The duration is not asked about: the managed value wins on load anyway.
    EXPECT_EQ(preferences.userValue("captureDurationMinutes"), PreferenceValue(50));

    // A managed headless mode ends the command: nothing is stored, nothing launched.
    preferences.force("headlessMode", false);
    EXPECT_EQ(run({"--headless"}),
              "Warning: headlessMode is managed by MDM and cannot be changed via CLI\n");
    EXPECT_FALSE(preferences.userValue("headlessMode"));
    EXPECT_EQ(launcher.launches, 0);
    EXPECT_TRUE(channel.posted.empty());
    EXPECT_TRUE(savedEverything);
}

// A full disk: each setting says it was not saved, and nothing is launched that would not find
// its command.
TEST_F(CommandClientTest, WritesThatFailAreReportedNotClaimed) {
    preferences.writeFailure = "No space left on device";
    EXPECT_EQ(run({"--start", "--interval", "3", "--duration", "5"}),
              "Error: Could not save intervalSeconds: No space left on device\n"
              "Error: Could not save captureDurationMinutes: No space left on device\n"
              "Error: Could not save com.ostrel.agent.command: No space left on device\n");
    EXPECT_FALSE(savedEverything);
    EXPECT_EQ(launcher.launches, 0);
    EXPECT_EQ(run({"--clear-pins"}),
              "Error: Could not save pinnedProcesses: No space left on device\n");
}

// An instance that holds the running mark but takes no command (starting, quitting, or in
// another folder) counts as none: the words never claim a command that went nowhere.
TEST_F(CommandClientTest, OneCommandOnlyAndOnlyWhatReachedAnInstanceIsReported) {
    EXPECT_EQ(run({"--clear-pins"}), "Pinned processes cleared\n");
    channel.running = true;
    channel.listening = false;
    EXPECT_EQ(run({"--quit", "--stop", "--clear-pins"}), "App is not running\n");
    EXPECT_EQ(run({"--quit"}), "App is not running\n");
    channel.listening = true;
    EXPECT_EQ(run({"--quit", "--stop"}),
              "Stop command sent — collection stopped (app stays running)\n");
    EXPECT_EQ(run({"--quit", "--clear-pins"}), "Quit command sent\n");
    preferences.set("pinnedProcesses", PreferenceValue(Words{"a"}));
    EXPECT_EQ(run({"--clear-pins"}), "Pinned processes cleared\n");
    EXPECT_FALSE(preferences.hasObject("pinnedProcesses"));
    EXPECT_EQ(channel.commands, (Words{"stop", "quit", "stop", "quit", "clear-pins"}));
}

// With no instance, a start that launches is the executable's test; here the dashboard, a start
// that reached nobody, and the failures.
TEST_F(CommandClientTest, WithoutInstanceDashboardLeavesAPendingCommandAndLaunchFailuresWarn) {
    EXPECT_EQ(run({"--dashboard"}), "");
    EXPECT_EQ(preferences.string(P::pendingCommandKey), "dashboard");
    EXPECT_EQ(launcher.launches, 1);
    // A start that reached nobody launches, and the launched process hands it over.
    channel.running = true;
    channel.listening = false;
    EXPECT_EQ(run({"--start"}), "App launched - monitoring will start shortly\n");
    EXPECT_EQ(launcher.launches, 2);
    EXPECT_TRUE(slept.empty());
    channel.running = false;

    launcher.outcome = tl::unexpected(LaunchFailure{LaunchFailure::Kind::applicationNotFound});
    EXPECT_EQ(run({"--start"}), "Warning: Could not find app bundle. Please start it manually.\n");
    launcher.outcome = tl::unexpected(LaunchFailure{LaunchFailure::Kind::exitStatus, {}, 3});
    EXPECT_EQ(run({"--start"}), "Warning: Failed to launch app (exit code 3)\n");
    EXPECT_EQ(channel.commands, Words{"start"});
}

TEST_F(CommandClientTest, StartAgainstARunningInstanceIgnoresAnOldReplyAndWaitsTwoSeconds) {
    channel.running = true;
    preferences.set(P::commandResultKey, PreferenceDictionary{{"result", "already_running"}});
    // A lost reply is not told apart from a success.
    EXPECT_EQ(run({"--start", "--duration", "5", "--watch", "w"}),
              "Duration limit set to 5 minutes\nWatched processes: w\nMonitoring started\n");
    EXPECT_EQ(channel.posted.at(0),
              (PreferenceDictionary{{"command", "start"},
                                    {"durationMinutes", 5},
                                    {"watchedProcesses", PreferenceValue(Words{"w"})}}));
    EXPECT_EQ(slept, std::vector<Duration>(20, 100ms));
    EXPECT_EQ(preferences.string(P::pendingCommandKey), "start");
    EXPECT_EQ(launcher.launches, 0);
}

TEST_F(CommandClientTest, HeadlessSwitchReplacesARunningInstance) {
    channel.running = true;
    channel.onPost = [this](const PreferenceDictionary&) { channel.running = false; };
    EXPECT_EQ(run({"--headless", "--start"}),
              "Headless mode enabled\nApp restarted with headless mode enabled\n");
    EXPECT_EQ(slept, std::vector<Duration>{200ms});
    EXPECT_TRUE(preferences.boolean("headlessMode"));
    EXPECT_FALSE(preferences.hasObject(P::pendingCommandKey));

    // An instance that does not leave is waited for 3 seconds, then launched beside anyway.
    channel.running = true;
    channel.onPost = nullptr;
    slept.clear();
    EXPECT_EQ(run({"--no-headless"}),
              "Headless mode disabled\nApp restarted with headless mode disabled\n");
    EXPECT_EQ(slept, std::vector<Duration>(15, 200ms));
    EXPECT_EQ(channel.commands, (Words{"quit", "quit"}));
    EXPECT_EQ(launcher.launches, 2);
}

TEST_F(CommandClientTest, StatusSaysWhenNoInstanceTookTheQuestionOrNoAnswerCame) {
    client().requestAndPrintStatus();
    EXPECT_EQ(out.str(), "Ostrel is not running\n");
    channel.running = true;
    channel.listening = false;
    out.str("");
    client().requestAndPrintStatus();
    EXPECT_EQ(out.str(), "Ostrel is not running\n");

    channel.listening = true;
    preferences.set(P::statusKey, PreferenceDictionary{{"isRunning", true}});
    out.str("");
    client().requestAndPrintStatus();
    EXPECT_EQ(out.str(), "Failed to get status from running app\n");

    EXPECT_FALSE(preferences.hasObject(P::statusKey));
    EXPECT_EQ(channel.commands, (Words{"status", "status"}));
}

}  // namespace
}  // namespace ostrel
