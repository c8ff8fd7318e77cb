#include "platform/app_launcher.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "support/temp_dir.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

// Reports, from inside the launched program, how it was started.
constexpr const char* kReporter = R"sh(#!/bin/sh
report="$(dirname "$0")/report"
streams="$(for fd in 0 1 2; do echo "fd$fd $(readlink /proc/$$/fd/$fd)"; done)"
{
  echo "arguments $#"
  echo "$streams"
  echo "session $(cut -d' ' -f6 /proc/$$/stat)"
  [ -e /proc/$$/fd/$LEAK_FD ] && echo "leaked"
} > "$report.tmp"
mv "$report.tmp" "$report"
)sh";

std::string awaitFile(const std::filesystem::path& path) {
    // A guard against a launch that never happens, not a measurement.
    for (int i = 0; i < 1000 && !std::filesystem::exists(path); ++i)
        std::this_thread::sleep_for(10ms);
    return std::filesystem::exists(path) ? testing::readFile(path) : std::string();
}

TEST(AppLauncher, StartsTheExecutableDetachedWithoutArgumentsOrStreams) {
    testing::TempDir folder;
    const auto program = folder.write("app", kReporter);
    chmod(program.c_str(), 0755);
    // An open file of the client that is not marked close-on-exec must not reach the app.
    const int leak = open("/dev/null", O_RDONLY);
    setenv("LEAK_FD", std::to_string(leak).c_str(), 1);

    EXPECT_TRUE(makeAppLauncher(program)->launchApplication().has_value());
    close(leak);
    const std::string report = awaitFile(folder / "report");
    EXPECT_EQ(report, "arguments 0\nfd0 /dev/null\nfd1 /dev/null\nfd2 /dev/null\nsession " +
                          report.substr(report.find("session ") + 8));
    EXPECT_NE(std::stol(report.substr(report.find("session ") + 8)), getsid(0));
    EXPECT_EQ(report.find("leaked"), std::string::npos);
}

TEST(AppLauncher, FailuresSayWhy) {
    testing::TempDir folder;
    const auto launched = makeAppLauncher(folder / "missing")->launchApplication();
    ASSERT_FALSE(launched);
    EXPECT_EQ(launched.error().kind, LaunchFailure::Kind::couldNotStart);
    EXPECT_EQ(launched.error().description, "No such file or directory");

    const auto notExecutable = folder.write("plain", "#!/bin/sh\n");
    EXPECT_EQ(makeAppLauncher(notExecutable)->launchApplication().error().description,
              "Permission denied");
    EXPECT_EQ(makeAppLauncher(std::nullopt)->launchApplication().error().kind,
              LaunchFailure::Kind::applicationNotFound);
}

}  // namespace
}  // namespace ostrel
