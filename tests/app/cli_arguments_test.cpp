#include "app/cli_arguments.h"

#include <gtest/gtest.h>

#include "app/cli_dispatch.h"

namespace ostrel {
namespace {

tl::expected<CLIArguments, CLIExit> scan(std::vector<std::string> words) {
    words.insert(words.begin(), "/usr/bin/ostrel");
    return CLIArguments::parse(words);
}

CLIArguments scanned(std::vector<std::string> words) {
    auto result = scan(std::move(words));
    EXPECT_TRUE(result.has_value()) << (result ? "" : result.error().message);
    return result.value_or(CLIArguments{});
}

std::string refusal(std::vector<std::string> words) {
    auto result = scan(std::move(words));
    EXPECT_FALSE(result.has_value());
    if (result) return {};
    EXPECT_EQ(result.error().status, 1);
    return result.error().message;
}

TEST(CLIArguments, EveryFormSetsItsFieldAndTheLastRepeatWins) {
    EXPECT_EQ(scanned({}), CLIArguments{});
    const auto single = scanned({"-start", "-stop", "-quit", "-status", "-help", "-dashboard",
                                 "--clear-pins", "--headless"});
    EXPECT_TRUE(single.shouldStart && single.shouldStop && single.shouldQuit);
    EXPECT_TRUE(single.showStatus && single.showHelp && single.showDashboard && single.clearPins);
    EXPECT_EQ(single.setHeadless, true);
    EXPECT_TRUE(scanned({"-h"}).showHelp);

    const auto repeated = scanned({"--headless", "--no-headless", "--interval", "3", "-interval",
                                   "+4", "--duration", "10", "-watch", "a", "--watch", "b c"});
    EXPECT_EQ(repeated.setHeadless, false);
    EXPECT_EQ(repeated.intervalSeconds, 4);
    EXPECT_EQ(repeated.durationMinutes, 10);
    EXPECT_EQ(repeated.watchProcesses, (std::vector<std::string>{"a", "b c"}));
}

TEST(CLIArguments, WatchTakesTheNextArgumentEvenWhenItLooksLikeAFlag) {
    const auto arguments = scanned({"--watch", "--stop"});
    EXPECT_FALSE(arguments.shouldStop);
    EXPECT_EQ(arguments.watchProcesses, std::vector<std::string>{"--stop"});
}

TEST(CLIArguments, ValueFlagInLastPositionIsDroppedSilently) {
    EXPECT_EQ(scanned({"--interval"}), CLIArguments{});
    EXPECT_EQ(scanned({"--start", "--duration"}).durationMinutes, std::nullopt);
    EXPECT_TRUE(scanned({"--watch"}).watchProcesses.empty());
}

TEST(CLIArguments, NumbersAreWholeDecimalsWithinTheirRanges) {
    EXPECT_EQ(scanned({"--interval", "3600"}).intervalSeconds, 3600);
    EXPECT_EQ(scanned({"--interval", "1"}).intervalSeconds, 1);
    EXPECT_EQ(scanned({"--duration", "7200"}).durationMinutes, 7200);

    const std::string intervalNumeric = "Error: --interval requires a numeric value\n";
    for (const char* bad : {"x", "5x", " 5", "", "2.5", "++5", "99999999999999999999"}) {
        EXPECT_EQ(refusal({"--interval", bad}), intervalNumeric) << bad;
    }
    const std::string intervalRange = "Error: --interval must be between 1 and 3600 seconds\n";
    EXPECT_EQ(refusal({"--interval", "0"}), intervalRange);
    EXPECT_EQ(refusal({"--interval", "-5"}), intervalRange);
    EXPECT_EQ(refusal({"--interval", "3601"}), intervalRange);

    EXPECT_EQ(refusal({"--duration", "ten"}), "Error: --duration requires a numeric value\n");
    // Zero is refused although the help text offers it as unlimited.
    const std::string durationRange =
        "Error: --duration must be between 1 and 7200 minutes (5 days)\n";
    EXPECT_EQ(refusal({"--duration", "0"}), durationRange);
    EXPECT_EQ(refusal({"--duration", "7201"}), durationRange);
}

TEST(CLIArguments, FirstBadArgumentEndsTheScan) {
    const std::string unknown =
        "Error: Unknown option '--bogus'\nRun 'ostrel --help' for usage information.\n";
    EXPECT_EQ(refusal({"--bogus", "--interval", "x"}), unknown);
    EXPECT_EQ(refusal({"--interval", "x", "--bogus"}),
              "Error: --interval requires a numeric value\n");
    EXPECT_EQ(refusal({"start"}),
              "Error: Unknown option 'start'\nRun 'ostrel --help' for usage information.\n");
    // A bad value still wins over --help, since the scan ends before anything is done.
    EXPECT_EQ(refusal({"--help", "--duration", "0"}),
              "Error: --duration must be between 1 and 7200 minutes (5 days)\n");
    EXPECT_NE(refusal({"--Start"}), "");
    EXPECT_NE(refusal({"-headless"}), "");
}

TEST(CLIArguments, SystemArgumentsAreSwallowedWithTheirValue) {
    EXPECT_EQ(scanned({"-NSDocumentRevisionsDebugMode", "YES", "--start"}).shouldStart, true);
    EXPECT_EQ(scanned({"-AppleLanguages", "(en)"}), CLIArguments{});
    EXPECT_EQ(scanned({"-com.apple.x", "--stop"}).shouldStop, true);
    EXPECT_EQ(scanned({"-AppleLocale"}), CLIArguments{});
}

TEST(CLIArguments, SessionFlagsErrorListsThePresentFlagsInFixedOrder) {
    CLIArguments arguments;
    arguments.watchProcesses = {"x"};
    EXPECT_EQ(arguments.sessionFlagsError(), "Error: --watch requires --start");
    arguments.durationMinutes = 5;
    EXPECT_EQ(arguments.sessionFlagsError(), "Error: --duration and --watch require --start");
    arguments.intervalSeconds = 2;
    EXPECT_EQ(arguments.sessionFlagsError(),
              "Error: --interval, --duration, and --watch require --start");
}

TEST(CLIDispatch, HelpThenStatusThenCommandThenSessionFlags) {
    const LaunchContext shell{.standardInputIsTerminal = true};
    EXPECT_EQ(dispatchFor(scanned({"--start", "--status", "--help"}), shell),
              CLIDispatch::printHelp);
    EXPECT_EQ(dispatchFor(scanned({"--quit", "--status"}), shell), CLIDispatch::printStatus);
    for (auto words : std::vector<std::vector<std::string>>{{"--start"},
                                                            {"--stop"},
                                                            {"--quit"},
                                                            {"--dashboard"},
                                                            {"--clear-pins"},
                                                            {"--no-headless"},
                                                            {"--stop", "--interval", "5"}}) {
        EXPECT_EQ(dispatchFor(scanned(words), shell), CLIDispatch::executeCommand) << words[0];
    }
    EXPECT_EQ(dispatchFor(scanned({"--interval", "5"}), shell), CLIDispatch::sessionFlagsError);
    EXPECT_EQ(dispatchFor(scanned({"--watch", "x"}), LaunchContext{}),
              CLIDispatch::sessionFlagsError);
}

TEST(CLIDispatch, WithoutCommandTheTerminalDecidesBetweenHelpAndApplication) {
    const CLIArguments none;
    EXPECT_EQ(dispatchFor(none, {.standardInputIsTerminal = true}), CLIDispatch::printHelp);
    // A dropped value flag leaves no command behind.
    EXPECT_EQ(dispatchFor(scanned({"--interval"}), {.standardInputIsTerminal = true}),
              CLIDispatch::printHelp);
    EXPECT_EQ(dispatchFor(none, {}), CLIDispatch::runApplication);
    EXPECT_EQ(
        dispatchFor(none, {.standardInputIsTerminal = true, .builtProductsPathsPresent = true}),
        CLIDispatch::runApplication);
    EXPECT_EQ(
        dispatchFor(none, {.standardInputIsTerminal = true, .testConfigurationPresent = true}),
        CLIDispatch::testHost);
    EXPECT_EQ(dispatchFor(none, {.testConfigurationPresent = true}), CLIDispatch::testHost);
}

}  // namespace
}  // namespace ostrel
