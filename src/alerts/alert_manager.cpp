#include "alerts/alert_manager.h"

#include <fmt/format.h>

#include <algorithm>
#include <random>

#include "alerts/alert_text.h"
#include "logging/logger.h"
#include "records/constants.h"

namespace ostrel {
namespace {

constexpr std::size_t processListLimit = 5;
// A CPU dip is over quickly; memory pressure is reported coarsely and lags, so it is given
// longer to show that it has really eased.
constexpr double cpuMinimumRecoverySeconds = 1.0;
constexpr double memoryMinimumRecoverySeconds = 5.0;

constexpr auto general = Logger::Category::general;

// A random (version 4) UUID, so every notification request has a name of its own in the log.
std::string freshIdentifier() {
    thread_local std::mt19937_64 generator{std::random_device{}()};
    uint64_t high = generator();
    uint64_t low = generator();
    high = (high & ~uint64_t{0xF000}) | 0x4000;
    low = (low & ~(uint64_t{0xC} << 60)) | (uint64_t{0x8} << 60);
    return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:012X}", high >> 32, (high >> 16) & 0xFFFF,
                       high & 0xFFFF, low >> 48, low & 0xFFFFFFFFFFFF);
}

// The settings' ranges keep the cooldown far from overflowing; if it ever does, the settings
// are corrupt beyond any sensible alerting, so the process stops rather than alert wrongly.
double cooldownSeconds(int64_t minutes) {
    int64_t seconds = 0;
    if (__builtin_mul_overflow(minutes, int64_t{60}, &seconds)) {
        Logger::fatal(fmt::format("Alert cooldown of {} minutes overflows", minutes), general);
    }
    return static_cast<double>(seconds);
}

// A failure is logged and dropped: the alert has already moved on and is not retried.
void sendNotification(Notifier& notifier, std::string title, std::string body) {
    notifier.post(
        {.identifier = freshIdentifier(), .title = std::move(title), .body = std::move(body)},
        [](std::optional<std::string> errorDescription) {
            if (errorDescription) {
                Logger::error("Failed to send notification", *errorDescription, general);
            }
        });
}

// Logs a failed or refused rights request; true when rights were granted.
bool grantedOrLogged(bool granted, const std::optional<std::string>& errorDescription) {
    if (errorDescription) {
        Logger::error("Notification permission error", *errorDescription, general);
        return false;
    }
    if (!granted) Logger::warning("Notification permission denied", general);
    return granted;
}

}  // namespace

AlertManager::AlertManager(const Clock& clock, Notifier& notifier, SerialQueue& mainQueue)
    : clock_(clock), notifier_(notifier), mainQueue_(mainQueue) {}

std::vector<AlertEvent> AlertManager::checkAndAlert(const SystemMetrics& metrics,
                                                    const MonitorConfig& config) {
    std::lock_guard lock(stateLock_);
    const Date now = clock_.now();
    const double cooldown = cooldownSeconds(config.alertCooldownMinutes);
    std::vector<AlertEvent> events;
    evaluateCPU(metrics, config, now, cooldown, events);
    evaluateMemory(metrics, config, now, cooldown, events);
    return events;
}

void AlertManager::evaluateCPU(const SystemMetrics& metrics, const MonitorConfig& config, Date now,
                               double cooldown, std::vector<AlertEvent>& events) {
    // Without both shares there is no load to judge: the machine holds still.
    if (!metrics.cpu || !metrics.cpu->userPercent || !metrics.cpu->systemPercent) return;
    // Percentages of the whole machine already; idle and nice time are not load.
    const double load = *metrics.cpu->userPercent + *metrics.cpu->systemPercent;
    const auto sustain = static_cast<double>(config.alertSustainedSeconds);

    if (load <= static_cast<double>(config.alertCPUThreshold)) {
        if (cpu_.noteQuiet(now, std::max(sustain / 2, cpuMinimumRecoverySeconds))) {
            peakCPUProcesses_.clear();
        }
        return;
    }

    const std::optional<ProcessMetrics>& processes = metrics.processes;
    if (cpu_.noteAbove(now)) peakCPUProcesses_.clear();
    if (processes) peakCPUProcesses_.update(processes->topCPU);
    if (!cpu_.fireIfDue(now, sustain, cooldown)) return;

    AlertEvent event{.timestamp = now, .hostname = metrics.hostname};
    event.alert = {
        .type = std::string(Constants::Alerts::cpuHigh),
        .message = "CPU usage exceeded threshold",
        .value = AlertText::cpuLoad(load),
        .threshold = fmt::format("{}%", config.alertCPUThreshold),
        .topCPUProcesses = peakCPUProcesses_.peaks(processListLimit),
        .topMemoryProcesses =
            processes ? extractTopProcesses(processes->topMemory, processListLimit) : std::nullopt};
    // The next alert's list covers only what comes after this one.
    peakCPUProcesses_.clear();
    events.push_back(std::move(event));

    if (config.alertShowNotification) {
        AlertText text = AlertText::cpu(load, config);
        sendNotification(notifier_, std::move(text.title), std::move(text.body));
    }
}

void AlertManager::evaluateMemory(const SystemMetrics& metrics, const MonitorConfig& config,
                                  Date now, double cooldown, std::vector<AlertEvent>& events) {
    // A setting of 0 switches memory alerts off; a sample without a level counts as quiet.
    const std::optional<int64_t> level =
        metrics.memory ? metrics.memory->pressureLevel : std::nullopt;
    const bool pressed =
        config.alertMemoryPressureLevel >= 1 && level && *level >= config.alertMemoryPressureLevel;
    const auto sustain = static_cast<double>(config.alertMemorySustainedSeconds);

    if (!pressed) {
        memory_.noteQuiet(now, std::max(sustain / 2, memoryMinimumRecoverySeconds));
        return;
    }
    memory_.noteAbove(now);
    if (!memory_.fireIfDue(now, sustain, cooldown)) return;

    const std::optional<ProcessMetrics>& processes = metrics.processes;
    const std::string word = AlertText::pressureWord(level);
    AlertEvent event{.timestamp = now, .hostname = metrics.hostname};
    event.alert = {
        .type = std::string(level == criticalPressureLevel ? Constants::Alerts::memoryCritical
                                                           : Constants::Alerts::memoryWarning),
        .message = "Memory pressure is " + word,
        .value = word,
        .threshold = AlertText::pressureWord(config.alertMemoryPressureLevel),
        .topCPUProcesses =
            processes ? extractTopProcesses(processes->topCPU, processListLimit) : std::nullopt,
        .topMemoryProcesses =
            processes ? extractTopProcesses(processes->topMemory, processListLimit) : std::nullopt};
    events.push_back(std::move(event));

    if (config.alertShowNotification) {
        AlertText text = AlertText::memory(level, config);
        sendNotification(notifier_, std::move(text.title), std::move(text.body));
    }
}

// The handlers below capture no part of this object: they may run after it is gone.
void AlertManager::requestPermission() {
    notifier_.requestAuthorization([](bool granted, std::optional<std::string> errorDescription) {
        if (grantedOrLogged(granted, errorDescription)) {
            Logger::info("Notification permission granted", general);
        }
    });
}

void AlertManager::checkPermissionStatus(std::function<void(bool authorized)> completion) {
    SerialQueue* mainQueue = &mainQueue_;
    notifier_.authorizationStatus([mainQueue, completion = std::move(completion)](bool authorized) {
        mainQueue->async([completion, authorized] { completion(authorized); });
    });
}

void AlertManager::sendTestAlert() {
    Notifier* notifier = &notifier_;
    notifier_.requestAuthorization(
        [notifier](bool granted, std::optional<std::string> errorDescription) {
            if (!grantedOrLogged(granted, errorDescription)) return;
            sendNotification(*notifier, std::string(Constants::Alerts::testTitle),
                             std::string(Constants::Alerts::testBody));
        });
}

}  // namespace ostrel
