#include <iostream>
#include <string>
#include <vector>

#include "app/application.h"
#include "app/cli_arguments.h"
#include "app/cli_dispatch.h"
#include "app/command_line.h"
#include "platform/standard_preferences.h"

int main(int argc, char** argv) {
    using namespace ostrel;
    // The arguments are read before anything else: a command turns this process into a
    // short-lived client of the running instance.
    const auto arguments = CLIArguments::parse(std::vector<std::string>(argv, argv + argc));
    if (!arguments) {
        std::cout << arguments.error().message << std::flush;
        return arguments.error().status;
    }
    switch (const CLIDispatch dispatch = dispatchFor(*arguments, LaunchContext::current())) {
        case CLIDispatch::testHost:
            return 0;
        case CLIDispatch::runApplication:
            return runApplicationEntry(argc, argv);
        default:
            return runCommandLine(*arguments, dispatch, *openStandardPreferences(), std::cout);
    }
}
