#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "app/command_target.h"
#include "app/status_report.h"
#include "platform/command_channel.h"
#include "platform/dispatcher.h"
#include "platform/preferences_store.h"

namespace ostrel {

// The application's side of the command line: takes commands from the channel and from the
// pending-command key, applies them to the target, and answers through the preferences.
// Everything but the channel's receiving runs on the main queue.
class CommandHandler {
  public:
    CommandHandler(CommandTarget& target, PreferencesStore& preferences, const Clock& clock,
                   DateDisplay showDate);
    ~CommandHandler();
    CommandHandler(const CommandHandler&) = delete;
    CommandHandler& operator=(const CommandHandler&) = delete;

    // Starts listening; each command reaches handleCommandNotification on `mainQueue`, which
    // must outlive this object.
    void registerForCommandNotifications(CommandChannel& channel, SerialQueue& mainQueue);
    // Stops listening; part of the application's termination.
    void unregisterForCommandNotifications();

    // A received dictionary: its options are stored as settings, then the command runs.
    void handleCommandNotification(const PreferenceDictionary& userInfo);
    // Runs the command the client left for this launch, if there is one.
    void checkPendingCommand();
    // Reloads and reapplies the settings, then performs `command` (any letter case).
    void executeCommand(std::string_view command);
    // Forgets the session-only settings (duration, watched names) once a capture has them.
    void clearCLIOnlySettings();
    void writeStatusToDefaults();

  private:
    void startCommand(const MonitorConfig& config);
    void storeDictionary(std::string_view key, PreferenceDictionary dictionary);

    CommandTarget& target_;
    PreferencesStore& preferences_;
    const Clock& clock_;
    DateDisplay showDate_;
    std::unique_ptr<CommandListener> listener_;
    // Tasks queued by the listener check this before touching the handler.
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace ostrel
