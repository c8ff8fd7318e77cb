#include "app/command_line.h"

#include <unistd.h>

#include <thread>

#include "app/command_client.h"
#include "app/help_text.h"
#include "app/medium_date_time.h"
#include "platform/app_paths.h"
#include "platform/subprocess.h"

namespace ostrel {
namespace {

// Instances of this user that run under this program's name; an instance of another user
// could not be reached anyway. The name is the one this process runs under, so a copy of the
// program installed under another name (a test's, a second version beside the first) keeps to
// its own instances.
std::optional<std::string> searchOwnProcesses() {
    const auto result =
        runProcess("/usr/bin/pgrep", {"-x", "-u", std::to_string(geteuid()), ownProcessName()});
    if (!result || result->exitStatus != 0) return std::nullopt;
    return result->standardOutput;
}

}  // namespace

int runCommandLine(const CLIArguments& arguments, CLIDispatch dispatch,
                   PreferencesStore& preferences, std::ostream& out) {
    switch (dispatch) {
        case CLIDispatch::printHelp:
            out << helpText() << std::flush;
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
            .listProcessesByName = searchOwnProcesses,
            .sleep = [](Duration step) { std::this_thread::sleep_for(step); },
            .ownProcessId = getpid(),
            .showDate = mediumDateTime,
        },
        out);
    if (dispatch == CLIDispatch::printStatus) {
        client.requestAndPrintStatus();
    } else {
        client.executeCommand(arguments);
    }
    out << std::flush;
    return 0;
}

}  // namespace ostrel
