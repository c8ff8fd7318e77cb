#include "app/cli_arguments.h"

#include <gtest/gtest.h>

#include "app/cli_dispatch.h"

namespace ostrel {
namespace {

using Words = std::vector<std::string>;

// Scans the arguments of a command line whose words are separated by single spaces.
tl::expected<CLIArguments, CLIExit> scan(std::string_view line) {
    Words words{"/usr/bin/ostrel"};
    for (size_t start = 0, end = 0; !line.empty() && end != std::string_view::npos;
         start = end + 1) {
        end = line.find(' ', start);
        words.emplace_back(line.substr(start, end - start));
    }
    return CLIArguments::parse(words);
}

CLIArguments scanned(std::string_view line) {
    return scan(line).value();
}

TEST(CLIArguments, FormsRepeatsAndSwallowedArguments) {
    EXPECT_EQ(scanned(""), CLIArguments{});
    const auto all = scanned(
        "-start -stop -quit -status -h -dashboard --clear-pins --headless --no-headless "
        "-interval 3 --interval +4 -duration 10 -watch a --watch --stop "
        "-NSDocumentRevisionsDebugMode YES -AppleLocale --duration");
    EXPECT_TRUE(all.shouldStart && all.shouldStop && all.shouldQuit && all.showStatus &&
                all.showHelp && all.showDashboard && all.clearPins);
    EXPECT_EQ(all.setHeadless, false);
    EXPECT_EQ(all.intervalSeconds, 4);
    // The trailing --duration has no value and is dropped without a word.
    EXPECT_EQ(all.durationMinutes, 10);
    EXPECT_EQ(all.watchProcesses, (Words{"a", "--stop"}));
    EXPECT_EQ(scanned("-com.apple.x --help").showHelp, true);
}

TEST(CLIArguments, FirstBadArgumentEndsTheScanWithItsMessage) {
    const std::string interval = "Error: --interval requires a numeric value\n";
    const std::string unknown = "'\nRun 'ostrel --help' for usage information.\n";
    const std::vector<std::pair<std::string_view, std::string>> cases{
        {"--interval 5x", interval},
        {"--interval ++5", interval},
        {"--interval +-5", interval},
        {"--interval -+5", interval},
        {"--interval -", interval},
        {"--interval 0", "Error: --interval must be between 1 and 3600 seconds\n"},
        {"--duration ten", "Error: --duration requires a numeric value\n"},
        // Zero is refused although the help text offers it.
        {"--duration 0", "Error: --duration must be between 1 and 7200 minutes (5 days)\n"},
        {"--help --bogus --interval x", "Error: Unknown option '--bogus" + unknown},
        {"--interval x --bogus", interval},
        {"start", "Error: Unknown option 'start" + unknown},
    };
    for (const auto& [line, message] : cases) {
        const auto result = scan(line);
        ASSERT_FALSE(result) << line;
        EXPECT_EQ(result.error().message, message) << line;
        EXPECT_EQ(result.error().status, 1);
    }
    EXPECT_EQ(scanned("--interval 3600 --duration 7200").intervalSeconds, 3600);
    EXPECT_EQ(scan("--interval -5").error().message,
              "Error: --interval must be between 1 and 3600 seconds\n");
}

TEST(CLIArguments, SessionFlagsErrorListsThePresentFlagsInFixedOrder) {
    EXPECT_EQ(scanned("--watch x").sessionFlagsError(), "Error: --watch requires --start");
    EXPECT_EQ(scanned("--watch x --duration 5").sessionFlagsError(),
              "Error: --duration and --watch require --start");
    EXPECT_EQ(scanned("--watch x --duration 5 --interval 2").sessionFlagsError(),
              "Error: --interval, --duration, and --watch require --start");
}

TEST(CLIDispatch, FirstMatchingStepDecides) {
    const LaunchContext shell{.standardInputIsTerminal = true};
    const LaunchContext detached{};
    EXPECT_EQ(dispatchFor(scanned("--start --status --help"), shell), CLIDispatch::printHelp);
    EXPECT_EQ(dispatchFor(scanned("--version --help"), shell), CLIDispatch::printHelp);
    EXPECT_EQ(dispatchFor(scanned("--status --version"), shell), CLIDispatch::printVersion);
    EXPECT_EQ(dispatchFor(scanned("--quit --status"), shell), CLIDispatch::printStatus);
    for (std::string_view line : {"--dashboard", "--no-headless", "--stop --interval 5"})
        EXPECT_EQ(dispatchFor(scanned(line), detached), CLIDispatch::executeCommand) << line;
    EXPECT_EQ(dispatchFor(scanned("--watch x"), detached), CLIDispatch::sessionFlagsError);
    // No command: a shell gets help, anything else the application, a test host nothing.
    EXPECT_EQ(dispatchFor(scanned("--interval"), shell), CLIDispatch::printHelp);
    EXPECT_EQ(dispatchFor({}, detached), CLIDispatch::runApplication);
    EXPECT_EQ(dispatchFor({}, {.standardInputIsTerminal = true, .builtProductsPathsPresent = true}),
              CLIDispatch::runApplication);
    EXPECT_EQ(dispatchFor({}, {.standardInputIsTerminal = true, .testConfigurationPresent = true}),
              CLIDispatch::testHost);
}

}  // namespace
}  // namespace ostrel
