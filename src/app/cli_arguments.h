#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <tl/expected.hpp>
#include <vector>

namespace ostrel {

// How a client invocation ends before it does anything: the text for standard output (with its
// line ends) and the exit status.
struct CLIExit {
    std::string message;
    int status = 1;
};

// The options of one invocation of the command-line tool.
struct CLIArguments {
    bool shouldStart = false;
    bool shouldStop = false;
    bool shouldQuit = false;
    bool showStatus = false;
    bool showHelp = false;
    bool showDashboard = false;
    std::optional<bool> setHeadless;
    std::optional<int64_t> durationMinutes;
    std::optional<int64_t> intervalSeconds;
    std::vector<std::string> watchProcesses;
    bool clearPins = false;
    bool showVersion = false;  // --version

    // Scans the process arguments (argument 0 is the program). The first bad argument ends the
    // scan with its message and status 1; nothing behind it is looked at.
    static tl::expected<CLIArguments, CLIExit> parse(std::span<const std::string> arguments);

    // Any flag that makes the process send a command to the application.
    bool hasCommand() const;
    // Any flag that only means something together with --start.
    bool hasSessionFlags() const;
    // The message for session flags given without a command, listing those present.
    std::string sessionFlagsError() const;

    bool operator==(const CLIArguments&) const = default;
};

}  // namespace ostrel
