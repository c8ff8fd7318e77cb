#pragma once

#include "app/cli_arguments.h"

namespace ostrel {

// What a process does with its parsed arguments, decided before anything else runs.
enum class CLIDispatch {
    printHelp,          // exit 0
    printVersion,       // exit 0
    printStatus,        // requestAndPrintStatus, exit 0
    executeCommand,     // executeCommand, exit 0
    sessionFlagsError,  // print the message, exit 1
    testHost,           // return with nothing started
    runApplication,     // the application proper
};

// The facts about the process's surroundings that the decision reads.
struct LaunchContext {
    bool standardInputIsTerminal = false;
    // Test-runner markers in the environment: a process started by a test harness must not
    // turn into a help screen or a second application.
    bool testConfigurationPresent = false;
    bool builtProductsPathsPresent = false;

    // Reads standard input and the environment of this process.
    static LaunchContext current();
};

CLIDispatch dispatchFor(const CLIArguments& arguments, const LaunchContext& context);

}  // namespace ostrel
