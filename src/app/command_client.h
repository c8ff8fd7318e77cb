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
// A command that reached no listening instance counts as finding none, so the words never
// claim what did not happen. Every word goes to `out`, errors too.
class CommandClient {
  public:
    struct Platform {
        PreferencesStore& preferences;
        CommandChannel& channel;
        AppLauncher& launcher;
        std::function<void(Duration)> sleep;
        DateDisplay showDate;
    };

    CommandClient(Platform platform, std::ostream& out);

    // Settings first, whatever the command, then the one command the arguments ask for.
    void executeCommand(const CLIArguments& arguments);
    // Starts the application; prints `message` once it runs, a warning if it does not.
    void launchAppIfNeeded(const std::optional<std::string>& message);
    void requestAndPrintStatus();
    // False once a write to the preferences failed; the failure has been printed.
    bool savedEverything() const { return savedEverything_; }

  private:
    void applySettings(const CLIArguments& arguments);
    // Writes `value` under `key`, or removes the key when `value` is empty; prints a failure.
    bool save(std::string_view key, std::optional<PreferenceValue> value);
    void switchHeadless(bool enabled, bool running);
    void start(const CLIArguments& arguments, bool running);
    // True when the command reached a listening instance.
    bool post(const PreferenceDictionary& userInfo);
    bool post(std::string_view command);
    // Asks `key` up to 20 times, 0.1 seconds apart, for the application's answer.
    std::optional<PreferenceDictionary> awaitDictionary(std::string_view key);
    void print(std::string_view line);

    Platform platform_;
    std::ostream& out_;
    bool savedEverything_ = true;
};

}  // namespace ostrel
