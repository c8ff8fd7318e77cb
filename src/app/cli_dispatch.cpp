#include "app/cli_dispatch.h"

#include <unistd.h>

#include <cstdlib>

namespace ostrel {

LaunchContext LaunchContext::current() {
    return LaunchContext{
        .standardInputIsTerminal = isatty(STDIN_FILENO) == 1,
        .testConfigurationPresent = std::getenv("XCTestConfigurationFilePath") != nullptr,
        .builtProductsPathsPresent = std::getenv("__XCODE_BUILT_PRODUCTS_DIR_PATHS") != nullptr,
    };
}

CLIDispatch dispatchFor(const CLIArguments& arguments, const LaunchContext& context) {
    if (arguments.showHelp) return CLIDispatch::printHelp;
    if (arguments.showVersion) return CLIDispatch::printVersion;
    if (arguments.showStatus) return CLIDispatch::printStatus;
    if (arguments.hasCommand()) return CLIDispatch::executeCommand;
    if (arguments.hasSessionFlags()) return CLIDispatch::sessionFlagsError;
    // The bare tool in a shell is a help screen, not a second application.
    if (context.standardInputIsTerminal && !context.testConfigurationPresent &&
        !context.builtProductsPathsPresent) {
        return CLIDispatch::printHelp;
    }
    if (context.testConfigurationPresent) return CLIDispatch::testHost;
    return CLIDispatch::runApplication;
}

}  // namespace ostrel
