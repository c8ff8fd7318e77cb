#include "app/command_line.h"

#include <thread>

#include "app/command_client.h"
#include "app/help_text.h"
#include "app/medium_date_time.h"
#include "platform/app_paths.h"

namespace ostrel {

int runCommandLine(const CLIArguments& arguments, CLIDispatch dispatch,
                   PreferencesStore& preferences, std::ostream& out) {
    switch (dispatch) {
        case CLIDispatch::printHelp:
            out << helpText() << std::flush;
            return 0;
        case CLIDispatch::printVersion:
            out << "ostrel " << OSTREL_VERSION << std::endl;
            return 0;
        case CLIDispatch::sessionFlagsError:
            out << arguments.sessionFlagsError() << std::endl;
            return 1;
        case CLIDispatch::printStatus:
        case CLIDispatch::executeCommand:
            break;
        case CLIDispatch::testHost:
        case CLIDispatch::runApplication:
            return 0;
    }

    const auto channel = makeCommandChannel(paths::commandChannelDirectory());
    const auto launcher = makeAppLauncher(ownExecutable());
    CommandClient client(
        CommandClient::Platform{
            .preferences = preferences,
            .channel = *channel,
            .launcher = *launcher,
            .sleep = [](Duration step) { std::this_thread::sleep_for(step); },
            .showDate = mediumDateTime,
        },
        out);
    if (dispatch == CLIDispatch::printStatus) {
        client.requestAndPrintStatus();
    } else {
        client.executeCommand(arguments);
    }
    out << std::flush;
    // A script must not take a setting that was never saved for one that was.
    return client.savedEverything() ? 0 : 1;
}

}  // namespace ostrel
