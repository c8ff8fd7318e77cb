#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "app/cli_arguments.h"
#include "app/status_report.h"
#include "platform/app_launcher.h"
#include "platform/command_channel.h"
#include "platform/preferences_store.h"

namespace ostrel {

// The short-lived side of the command line: writes the given settings to the shared
// preferences, finds the running application, sends it one command and prints the outcome.
// Every word goes to `out`, errors too.
class CommandClient {
  public:
    struct Platform {
        PreferencesStore& preferences;
        CommandChannel& channel;
        AppLauncher& launcher;
        // The process ids that a search of the process list by the program's name prints, when
        // the search succeeds: the second way to notice an instance that does not listen yet.
        std::function<std::optional<std::string>()> listProcessesByName;
        std::function<void(Duration)> sleep;
        int64_t ownProcessId;
        DateDisplay showDate;
    };

    CommandClient(Platform platform, std::ostream& out);

    // Settings first, whatever the command, then the one command the arguments ask for.
    void executeCommand(const CLIArguments& arguments);
    // Starts the application; prints `message` once it runs, a warning if it does not.
    void launchAppIfNeeded(const std::optional<std::string>& message);
    void requestAndPrintStatus();

  private:
    void applySettings(const CLIArguments& arguments);
    bool isRunning() const;
    void switchHeadless(bool enabled, bool running);
    void start(const CLIArguments& arguments, bool running);
    void post(std::string_view command);
    // Asks `key` up to 20 times, 0.1 seconds apart, for the application's answer.
    std::optional<PreferenceDictionary> awaitDictionary(std::string_view key);
    void print(std::string_view line);

    Platform platform_;
    std::ostream& out_;
};

// Whether the output of a process search lists a process other than `ownProcessId`: one id a
// line, blanks around it allowed, lines that are no 32-bit number dropped.
bool listsOtherProcess(std::string_view searchOutput, int64_t ownProcessId);

}  // namespace ostrel
