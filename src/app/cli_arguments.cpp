#include "app/cli_arguments.h"

#include <fmt/format.h>

#include <charconv>
#include <string_view>

#include "app/command_protocol.h"

namespace ostrel {
namespace {

bool isAnyOf(std::string_view argument, std::initializer_list<std::string_view> forms) {
    for (std::string_view form : forms) {
        if (argument == form) return true;
    }
    return false;
}

// A whole decimal number: one optional sign, then digits only; "+-5", blanks or trailing text
// refuse it.
std::optional<int64_t> readInteger(std::string_view text) {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos)
        return std::nullopt;
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return negative ? -value : value;
}

// The launcher of the desktop hands applications arguments of its own; they are not ours.
bool isSystemArgument(std::string_view argument) {
    return argument.starts_with("-NS") || argument.starts_with("-Apple") ||
           argument.starts_with("-com.apple");
}

CLIExit failure(std::string message) {
    return CLIExit{std::move(message) + "\n", 1};
}

// The value of `flag`, a whole number from 1 to `maximum`.
tl::expected<int64_t, CLIExit> boundedValue(std::string_view text, std::string_view flag,
                                            int64_t maximum, std::string_view bound) {
    const auto value = readInteger(text);
    if (!value)
        return tl::unexpected(failure(fmt::format("Error: {} requires a numeric value", flag)));
    if (*value < 1 || *value > maximum) {
        return tl::unexpected(
            failure(fmt::format("Error: {} must be between 1 and {}", flag, bound)));
    }
    return *value;
}

}  // namespace

tl::expected<CLIArguments, CLIExit> CLIArguments::parse(std::span<const std::string> arguments) {
    CLIArguments result;
    for (size_t i = 1; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();

        if (isAnyOf(argument, {"--start", "-start"})) {
            result.shouldStart = true;
        } else if (isAnyOf(argument, {"--stop", "-stop"})) {
            result.shouldStop = true;
        } else if (isAnyOf(argument, {"--quit", "-quit"})) {
            result.shouldQuit = true;
        } else if (isAnyOf(argument, {"--status", "-status"})) {
            result.showStatus = true;
        } else if (isAnyOf(argument, {"--help", "-help", "-h"})) {
            result.showHelp = true;
        } else if (isAnyOf(argument, {"--dashboard", "-dashboard"})) {
            result.showDashboard = true;
        } else if (argument == "--headless") {
            result.setHeadless = true;
        } else if (argument == "--no-headless") {
            result.setHeadless = false;
        } else if (argument == "--clear-pins") {
            result.clearPins = true;
        } else if (argument == "--version") {
            result.showVersion = true;
        } else if (isAnyOf(argument, {"--duration", "-duration"})) {
            // A value flag with nothing behind it is dropped without a word.
            if (!hasValue) continue;
            auto minutes =
                boundedValue(arguments[++i], "--duration", CommandProtocol::maxDurationMinutes,
                             "7200 minutes (5 days)");
            if (!minutes) return tl::unexpected(minutes.error());
            result.durationMinutes = *minutes;
        } else if (isAnyOf(argument, {"--interval", "-interval"})) {
            if (!hasValue) continue;
            auto seconds = boundedValue(arguments[++i], "--interval",
                                        CommandProtocol::maxIntervalSeconds, "3600 seconds");
            if (!seconds) return tl::unexpected(seconds.error());
            result.intervalSeconds = *seconds;
        } else if (isAnyOf(argument, {"--watch", "-watch"})) {
            // The name is taken as it stands, even when it looks like a flag.
            if (!hasValue) continue;
            result.watchProcesses.push_back(arguments[++i]);
        } else if (isSystemArgument(argument)) {
            if (hasValue && !arguments[i + 1].starts_with('-')) ++i;
        } else {
            return tl::unexpected(CLIExit{"Error: Unknown option '" + argument +
                                              "'\nRun 'ostrel --help' for usage information.\n",
                                          1});
        }
    }
    return result;
}

bool CLIArguments::hasCommand() const {
    return shouldStart || shouldStop || shouldQuit || showDashboard || clearPins ||
           setHeadless.has_value();
}

bool CLIArguments::hasSessionFlags() const {
    return intervalSeconds || durationMinutes || !watchProcesses.empty();
}

std::string CLIArguments::sessionFlagsError() const {
    std::vector<std::string> flags;
    if (intervalSeconds) flags.emplace_back("--interval");
    if (durationMinutes) flags.emplace_back("--duration");
    if (!watchProcesses.empty()) flags.emplace_back("--watch");
    switch (flags.size()) {
        case 1:
            return "Error: " + flags[0] + " requires --start";
        case 2:
            return "Error: " + flags[0] + " and " + flags[1] + " require --start";
        case 3:
            return "Error: " + flags[0] + ", " + flags[1] + ", and " + flags[2] +
                   " require --start";
        default:
            return {};
    }
}

}  // namespace ostrel
