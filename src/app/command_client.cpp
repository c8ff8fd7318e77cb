#include "app/command_client.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <chrono>

#include "app/command_protocol.h"
#include "app/dictionary_entries.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
namespace P = CommandProtocol;

constexpr int kReplyPolls = 20;
constexpr Duration kReplyPollInterval = 100ms;
constexpr int kQuitPolls = 15;  // 3 seconds for a quitting instance to leave
constexpr Duration kQuitPollInterval = 200ms;

std::string managedWarning(std::string_view key) {
    return fmt::format("Warning: {} is managed by MDM and cannot be changed via CLI", key);
}

}  // namespace

CommandClient::CommandClient(Platform platform, std::ostream& out)
    : platform_(std::move(platform)), out_(out) {}

void CommandClient::print(std::string_view line) {
    out_ << line << '\n';
}

void CommandClient::executeCommand(const CLIArguments& arguments) {
    applySettings(arguments);
    const bool running = platform_.channel.instanceRunning();

    // One command only, the first that applies.
    if (arguments.setHeadless) {
        switchHeadless(*arguments.setHeadless, running);
    } else if (arguments.shouldStart) {
        start(arguments, running);
    } else if (arguments.shouldStop) {
        if (!running || !post("stop")) return print("App is not running");
        print("Stop command sent — collection stopped (app stays running)");
    } else if (arguments.shouldQuit) {
        if (!running || !post("quit")) return print("App is not running");
        print("Quit command sent");
    } else if (arguments.showDashboard) {
        save(P::pendingCommandKey, "dashboard");
        if (!running || !post("dashboard")) launchAppIfNeeded(std::nullopt);
    } else if (arguments.clearPins) {
        if (!save(P::pinnedSetting, std::nullopt)) return;
        print("Pinned processes cleared");
        if (running) post("clear-pins");
    }
}

// Stored before the command so that the application finds them when it next loads settings;
// they stay even when no instance is found.
void CommandClient::applySettings(const CLIArguments& arguments) {
    auto& preferences = platform_.preferences;
    if (const auto seconds = arguments.intervalSeconds) {
        if (preferences.isForced(P::intervalSetting)) {
            print(managedWarning(P::intervalSetting));
        } else if (save(P::intervalSetting, *seconds)) {
            print(fmt::format("Collection interval set to {} seconds", *seconds));
        }
    }
    // Not asked about management: a managed duration simply wins when settings load.
    if (const auto minutes = arguments.durationMinutes;
        minutes && save(P::durationSetting, *minutes)) {
        print(*minutes == 0 ? std::string("Duration limit set to unlimited")
                            : fmt::format("Duration limit set to {} minutes", *minutes));
    }
    if (!arguments.watchProcesses.empty()) {
        if (preferences.isForced(P::watchedSetting)) {
            print(managedWarning(P::watchedSetting));
        } else if (save(P::watchedSetting, PreferenceValue(arguments.watchProcesses))) {
            print(fmt::format("Watched processes: {}", fmt::join(arguments.watchProcesses, ", ")));
        }
    }
}

bool CommandClient::save(std::string_view key, std::optional<PreferenceValue> value) {
    auto& preferences = platform_.preferences;
    const auto written = value ? preferences.set(key, std::move(*value)) : preferences.remove(key);
    if (written) {
        preferences.synchronize();
        return true;
    }
    print(fmt::format("Error: Could not save {}: {}", key, written.error()));
    savedEverything_ = false;
    return false;
}

bool CommandClient::post(const PreferenceDictionary& userInfo) {
    return platform_.channel.post(userInfo) > 0;
}

bool CommandClient::post(std::string_view command) {
    return post({{std::string(P::commandEntry), std::string(command)}});
}

void CommandClient::switchHeadless(bool enabled, bool running) {
    if (platform_.preferences.isForced(P::headlessSetting)) {
        return print(managedWarning(P::headlessSetting));
    }
    if (!save(P::headlessSetting, enabled)) return;
    print(enabled ? "Headless mode enabled" : "Headless mode disabled");

    // The mode is read at launch only, so a running instance is replaced.
    std::string_view word = "launched";
    if (running && post("quit")) {
        for (int i = 0; i < kQuitPolls; ++i) {
            platform_.sleep(kQuitPollInterval);
            if (!platform_.channel.instanceRunning()) break;
        }
        word = "restarted";
    }
    launchAppIfNeeded(
        fmt::format("App {} with headless mode {}", word, enabled ? "enabled" : "disabled"));
}

void CommandClient::start(const CLIArguments& arguments, bool running) {
    // What a newly launched instance finds and performs.
    const bool pending = save(P::pendingCommandKey, "start");

    // Cleared first, so that an old reply cannot pass for the answer to this request.
    if (running) save(P::commandResultKey, std::nullopt);
    PreferenceDictionary userInfo{{std::string(P::commandEntry), "start"}};
    if (arguments.durationMinutes)
        userInfo[std::string(P::durationEntry)] = *arguments.durationMinutes;
    if (arguments.intervalSeconds)
        userInfo[std::string(P::intervalEntry)] = *arguments.intervalSeconds;
    if (!arguments.watchProcesses.empty()) {
        userInfo[std::string(P::watchedEntry)] = PreferenceValue(arguments.watchProcesses);
    }
    if (!running || !post(userInfo)) {
        // A launch without the pending command would not start anything.
        if (pending) launchAppIfNeeded("App launched - monitoring will start shortly");
        return;
    }

    const auto reply = awaitDictionary(P::commandResultKey);
    save(P::commandResultKey, std::nullopt);
    // A lost reply is not told apart from a success.
    if (!reply || stringEntry(*reply, "result") != "already_running")
        return print("Monitoring started");

    print("Collection already running");
    print("  Started: " + stringEntry(*reply, "startedAt").value_or("unknown"));
    print(fmt::format("  Interval: {}s", integerEntry(*reply, "intervalSeconds").value_or(0)));
    print("  Duration: " + stringEntry(*reply, "durationDesc").value_or("unlimited"));
    print(fmt::format("  Records collected: {}",
                      integerEntry(*reply, "recordsCollected").value_or(0)));
    if (const auto applied = stringListEntry(*reply, "settingsApplied")) {
        print(fmt::format("Settings updated: {}", fmt::join(*applied, ", ")));
    }
}

std::optional<PreferenceDictionary> CommandClient::awaitDictionary(std::string_view key) {
    for (int i = 0; i < kReplyPolls; ++i) {
        platform_.sleep(kReplyPollInterval);
        platform_.preferences.synchronize();
        if (auto dictionary = platform_.preferences.dictionary(key)) return dictionary;
    }
    return std::nullopt;
}

void CommandClient::launchAppIfNeeded(const std::optional<std::string>& message) {
    const auto launched = platform_.launcher.launchApplication();
    if (launched) {
        if (message) print(*message);
        return;
    }
    const LaunchFailure& failure = launched.error();
    switch (failure.kind) {
        case LaunchFailure::Kind::applicationNotFound:
            return print("Warning: Could not find app bundle. Please start it manually.");
        case LaunchFailure::Kind::couldNotStart:
            return print("Warning: Could not launch app: " + failure.description);
        case LaunchFailure::Kind::exitStatus:
            return print(
                fmt::format("Warning: Failed to launch app (exit code {})", failure.exitCode));
    }
}

void CommandClient::requestAndPrintStatus() {
    if (platform_.channel.instanceRunning()) {
        save(P::statusKey, std::nullopt);
        if (post("status")) {
            const auto status = awaitDictionary(P::statusKey);
            save(P::statusKey, std::nullopt);
            if (!status) return print("Failed to get status from running app");
            out_ << statusReport(*status, platform_.showDate);
            return;
        }
    }
    print("Ostrel is not running");
}

}  // namespace ostrel
