#include "app/command_handler.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <vector>

#include "app/command_protocol.h"
#include "app/dictionary_entries.h"
#include "logging/logger.h"
#include "records/formatters.h"
#include "records/text.h"

namespace ostrel {
namespace {

namespace P = CommandProtocol;
constexpr auto kGeneral = Logger::Category::general;

// An integer entry within [low, high]; one outside is dropped with a warning.
std::optional<int64_t> boundedEntry(const PreferenceDictionary& userInfo, std::string_view key,
                                    int64_t low, int64_t high) {
    const auto value = integerEntry(userInfo, key);
    if (!value || (*value >= low && *value <= high)) return value;
    Logger::warning(
        fmt::format("Ignoring {} {} of a command: outside {} to {}", key, *value, low, high),
        kGeneral);
    return std::nullopt;
}

}  // namespace

CommandHandler::CommandHandler(CommandTarget& target, PreferencesStore& preferences,
                               const Clock& clock, DateDisplay showDate)
    : target_(target), preferences_(preferences), clock_(clock), showDate_(std::move(showDate)) {}

CommandHandler::~CommandHandler() {
    unregisterForCommandNotifications();
}

void CommandHandler::registerForCommandNotifications(CommandChannel& channel,
                                                     SerialQueue& mainQueue) {
    std::weak_ptr<bool> alive = alive_;
    auto listener = channel.listen([this, alive, &mainQueue](PreferenceDictionary userInfo) {
        mainQueue.async([this, alive, userInfo = std::move(userInfo)] {
            if (alive.lock()) handleCommandNotification(userInfo);
        });
    });
    if (!listener) {
        Logger::error("Cannot listen for admin commands", listener.error(), kGeneral);
        return;
    }
    listener_ = std::move(*listener);
    Logger::info("Listening for admin commands via distributed notifications", kGeneral);
}

void CommandHandler::unregisterForCommandNotifications() {
    listener_.reset();
}

void CommandHandler::handleCommandNotification(const PreferenceDictionary& userInfo) {
    const auto command = stringEntry(userInfo, P::commandEntry);
    if (!command) return;
    // Stored before the command so that its reload sees them. An entry of the wrong type is
    // skipped; managed keys are not asked about, since a managed value wins on load anyway.
    if (const auto minutes = boundedEntry(userInfo, P::durationEntry, 0, P::maxDurationMinutes)) {
        preferences_.set(P::durationSetting, *minutes);
    }
    if (const auto seconds = boundedEntry(userInfo, P::intervalEntry, 1, P::maxIntervalSeconds)) {
        preferences_.set(P::intervalSetting, *seconds);
    }
    if (const auto names = stringListEntry(userInfo, P::watchedEntry)) {
        preferences_.set(P::watchedSetting, PreferenceValue(*names));
    }
    Logger::info("Received command: " + *command, kGeneral);
    executeCommand(*command);
}

void CommandHandler::checkPendingCommand() {
    const auto command = preferences_.string(P::pendingCommandKey);
    if (!command || command->empty()) return;
    // Removed first, so that a command that ends the process is not found again at next launch.
    preferences_.remove(P::pendingCommandKey);
    preferences_.synchronize();
    Logger::info("Found pending command: " + *command, kGeneral);
    executeCommand(*command);
}

void CommandHandler::executeCommand(std::string_view command) {
    // Every command applies what the client wrote, also to a running monitor.
    const MonitorConfig config = target_.loadConfiguration();
    target_.configureMonitor(config);

    const std::string name = asciiLowered(command);
    if (name == "start") return startCommand(config);
    const std::pair<std::string_view, std::function<void()>> actions[] = {
        {"stop",
         [this] {
             if (target_.monitorStatus().isRunning) target_.stopMonitoring();
         }},
        {"quit", [this] { target_.terminate(); }},
        {"upload", [this] { target_.uploadNow(); }},
        {"clear", [this] { target_.clearStoredData(); }},
        {"reload", [] {}},  // the reload above is the whole of it
        {"status", [this] { writeStatusToDefaults(); }},
        {"dashboard", [this] { target_.openDashboard(); }},
        {"clear-pins", [this] { target_.clearPinnedProcesses(); }},
    };
    for (const auto& [known, action] : actions) {
        if (known != name) continue;
        Logger::info(fmt::format("Executing {} command", name), kGeneral);
        return action();
    }
    Logger::warning(fmt::format("Unknown command: {}", command), kGeneral);
}

void CommandHandler::startCommand(const MonitorConfig& config) {
    const bool durationGiven = config.captureDurationMinutes >= 1;
    std::vector<std::string> settings{fmt::format("interval: {}s", config.intervalSeconds)};

    if (!target_.monitorStatus().isRunning) {
        if (!target_.hasValidDestination()) {
            Logger::warning(
                "Start command ignored: No valid destination configured. Enable local storage "
                "or configure Splunk upload.",
                kGeneral);
            return;
        }
        if (durationGiven)
            settings.push_back(fmt::format("duration: {}m", config.captureDurationMinutes));
        Logger::info(fmt::format("Executing start command ({})", fmt::join(settings, ", ")),
                     kGeneral);
        target_.startMonitoring();
        storeDictionary(P::commandResultKey, {{"result", "started"}});
        clearCLIOnlySettings();
        return;
    }

    // Already running: a new duration restarts the limit from now; the interval took effect
    // through the configure above.
    if (durationGiven) {
        target_.configureDurationLimitFromCLI(config.captureDurationMinutes);
        settings.push_back(fmt::format("duration: {}m", config.captureDurationMinutes));
        clearCLIOnlySettings();
    }
    const MonitorStatusFigures status = target_.monitorStatus();
    const int64_t activeMinutes = status.activeDurationMinutes.value_or(0);
    Logger::info(fmt::format("Start command received while running — settings: {}",
                             fmt::join(settings, ", ")),
                 kGeneral);

    PreferenceDictionary reply{
        {"result", "already_running"},
        {"startedAt", status.captureStartTime ? showDate_(*status.captureStartTime) : "unknown"},
        {"intervalSeconds", config.intervalSeconds},
        {"durationMinutes", activeMinutes},
        {"durationDesc",
         status.captureEndTime ? fmt::format("{}m", activeMinutes) : std::string("unlimited")},
        {"recordsCollected", status.successCount},
    };
    if (durationGiven) reply["settingsApplied"] = PreferenceValue(settings);
    storeDictionary(P::commandResultKey, std::move(reply));
}

void CommandHandler::clearCLIOnlySettings() {
    const bool clearDuration = !preferences_.isForced(P::durationSetting);
    const bool clearWatched = !preferences_.isForced(P::watchedSetting);
    if (clearDuration) preferences_.remove(P::durationSetting);
    if (clearWatched) preferences_.remove(P::watchedSetting);
    preferences_.synchronize();
    // The monitor's own copy keeps them until its next configure: the running capture keeps
    // its limit and its watched names.
    target_.editConfiguration([&](MonitorConfig& config) {
        if (clearDuration) config.captureDurationMinutes = 0;
        if (clearWatched) config.watchedProcesses.clear();
    });
}

void CommandHandler::writeStatusToDefaults() {
    const MonitorConfig config = target_.configuration();
    const MonitorStatusFigures status = target_.monitorStatus();
    PreferenceDictionary snapshot{
        {"isRunning", status.isRunning},
        {"storageEnabled", config.storageEnabled},
        {"intervalSeconds", config.intervalSeconds},
        {"captureDurationMinutes", status.activeDurationMinutes.value_or(0)},
        {"headlessMode", config.headlessMode},
        {"minimalUI", config.minimalUI},
        {"successCount", status.successCount},
        {"errorCount", status.errorCount},
        {"storedRecordsCount", status.storedRecordsCount},
        {"pendingUploadCount", status.pendingUploadCount},
        {"storageSizeMB", status.storageSizeMB},
        {"uploadEnabled", config.uploadEnabled},
        {"totalUploadedCount", status.totalUploadedCount},
        {"stoppedByDurationLimit", status.stoppedByDurationLimit},
        {"timestamp", Formatters::iso8601(clock_.now())},
    };
    const auto addDate = [&](const char* key, const std::optional<Date>& date) {
        if (date) snapshot[key] = Formatters::iso8601(*date);
    };
    addDate("captureStartTime", status.captureStartTime);
    addDate("captureEndTime", status.captureEndTime);
    addDate("lastCollection", status.lastCollection);
    addDate("lastUploadDate", status.lastUploadDate);
    if (status.lastUploadDate) snapshot["lastUploadCount"] = status.lastUploadCount;
    if (auto managed = preferences_.managedLayerError()) {
        snapshot["managedSettingsError"] = std::move(*managed);
    }
    if (status.rejectedUploadCount > 0) {
        snapshot["rejectedUploadCount"] = status.rejectedUploadCount;
    }
    if (status.lastError) snapshot["lastError"] = *status.lastError;
    storeDictionary(P::statusKey, std::move(snapshot));
}

void CommandHandler::storeDictionary(std::string_view key, PreferenceDictionary dictionary) {
    preferences_.set(key, std::move(dictionary));
    preferences_.synchronize();
}

}  // namespace ostrel
