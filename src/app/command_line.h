#pragma once

#include <ostream>

#include "app/cli_arguments.h"
#include "app/cli_dispatch.h"
#include "platform/preferences_store.h"

namespace ostrel {

// A client invocation of the executable, on the real channel, launcher and process list:
// performs `dispatch` (help, status, a command or the session-flags error) and returns the
// exit status. Not for the test-host and application cases, which the caller handles.
int runCommandLine(const CLIArguments& arguments, CLIDispatch dispatch,
                   PreferencesStore& preferences, std::ostream& out);

}  // namespace ostrel
