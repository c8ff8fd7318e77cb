// The built executable as a shell user meets it, against an instance listening in this process.
#include <gtest/gtest.h>

#include <thread>

#include "app/command_handler.h"
#include "app/fake_command_target.h"
#include "app/help_text.h"
#include "app/medium_date_time.h"
#include "platform/app_paths.h"
#include "platform/standard_preferences.h"
#include "platform/subprocess.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

ProcessOutput ostrel(std::vector<std::string> arguments) {
    return runProcess(OSTREL_EXECUTABLE, arguments).value();
}

TEST(CommandLine, HelpBadArgumentsAndStatusWithoutInstance) {
    const auto help = ostrel({"--status", "-h"});
    EXPECT_EQ(help.exitStatus, 0);
    EXPECT_EQ(help.standardOutput, helpText());

    const auto bad = ostrel({"--help", "--interval", "0"});
    EXPECT_EQ(bad.exitStatus, 1);
    EXPECT_EQ(bad.standardOutput, "Error: --interval must be between 1 and 3600 seconds\n");
    const auto alone = ostrel({"--watch", "a", "--duration", "5"});
    EXPECT_EQ(alone.exitStatus, 1);
    EXPECT_EQ(alone.standardOutput, "Error: --duration and --watch require --start\n");

    const auto status = ostrel({"--status"});
    EXPECT_EQ(status.exitStatus, 0);
    EXPECT_EQ(status.standardOutput, "Ostrel is not running\n");
}

TEST(CommandLine, StartAndStatusAreAnsweredThroughThePreferences) {
    const auto preferences = openStandardPreferences();
    testing::FakeTarget target(*preferences);
    target.status.isRunning = true;
    testing::VirtualClock clock;
    CommandHandler handler(target, *preferences, clock, mediumDateTime);
    const auto channel = makeCommandChannel(paths::commandChannelDirectory());
    const auto dispatcher = makeThreadDispatcher();
    handler.registerForCommandNotifications(*channel, dispatcher->mainQueue());
    std::thread mainLoop([&] { dispatcher->runMainLoop(); });

    const auto start = ostrel({"--start", "--interval", "4", "--duration", "30"});
    const auto status = ostrel({"--status"});
    dispatcher->quitMainLoop();
    mainLoop.join();

    EXPECT_EQ(start.standardOutput,
              "Collection interval set to 4 seconds\nDuration limit set to 30 minutes\n"
              "Collection already running\n  Started: unknown\n  Interval: 4s\n"
              "  Duration: 30m\n  Records collected: 0\n"
              "Settings updated: interval: 4s, duration: 30m\n");
    EXPECT_TRUE(status.standardOutput.starts_with(
        "Ostrel Status\n==================\nRunning: Yes\nLogging: Active\n"))
        << status.standardOutput;
    EXPECT_NE(status.standardOutput.find("Duration limit: 30 minutes\n"), std::string::npos);
    EXPECT_EQ(target.calls, (testing::Words{"load", "limit", "load"}));
    // The session's duration was handed to the capture and forgotten; the interval stays.
    EXPECT_FALSE(preferences->hasObject("captureDurationMinutes"));
    EXPECT_EQ(preferences->integer("intervalSeconds"), 4);
}

}  // namespace
}  // namespace ostrel
