#include "config/configuration_manager.h"

#include <fmt/format.h>

#include <algorithm>

#include "config/setting_limits.h"
#include "logging/logger.h"

namespace ostrel {
namespace {

template <class Field, class Value>
void assignIf(const std::optional<Value>& value, Field& field) {
    if (value) field = *value;
}

}  // namespace

ConfigurationManager::ConfigurationManager(std::shared_ptr<PreferencesStore> defaults)
    : defaults_(std::move(defaults)) {}

std::optional<int64_t> ConfigurationManager::intValue(std::string_view key) const {
    // integer() cannot tell an absent key from 0, hence the presence test first.
    if (!defaults_->hasObject(key)) return std::nullopt;
    return defaults_->integer(key);
}

std::optional<int64_t> ConfigurationManager::positiveIntValue(std::string_view key) const {
    const auto value = intValue(key);
    if (value && *value < 1) return std::nullopt;
    return value;
}

std::optional<bool> ConfigurationManager::boolValue(std::string_view key) const {
    if (!defaults_->hasObject(key)) return std::nullopt;
    return defaults_->boolean(key);
}

void ConfigurationManager::load() {
    MonitorConfig loaded;
    // A managed file that cannot be read may force any key: the defaults stand until it reads,
    // rather than the user's values it may be there to override. The store logs the cause.
    if (!defaults_->managedLayerError()) {
        loadCollectionSettings(loaded);
        loadUISettings(loaded);
        loadMetricToggles(loaded);

        assignIf(boolValue("storageEnabled"), loaded.storageEnabled);
        assignIf(positiveIntValue("maxStorageMB"), loaded.maxStorageMB);
        assignIf(positiveIntValue("retentionDays"), loaded.retentionDays);
        assignIf(defaults_->string("rotationPolicy"), loaded.rotationPolicy);

        loadUploadSettings(loaded);
        loadAlertSettings(loaded);
        loadNotificationMessages(loaded);
    }

    config.set(std::move(loaded));
    validateConfig();
    if (hasManagedPreferences()) {
        Logger::info("Loaded configuration (MDM-managed)", Logger::Category::general);
    }
}

void ConfigurationManager::loadCollectionSettings(MonitorConfig& loaded) const {
    assignIf(positiveIntValue("intervalSeconds"), loaded.intervalSeconds);
    assignIf(boolValue("autoStart"), loaded.autoStart);
    assignIf(intValue("captureDurationMinutes"), loaded.captureDurationMinutes);
    assignIf(defaults_->stringArray("watchedProcesses"), loaded.watchedProcesses);
}

void ConfigurationManager::loadUISettings(MonitorConfig& loaded) const {
    assignIf(boolValue("headlessMode"), loaded.headlessMode);
    assignIf(boolValue("minimalUI"), loaded.minimalUI);
    const auto stored = intValue("logLevel");
    if (const auto level = stored ? logLevelFromRaw(*stored) : std::nullopt) {
        loaded.logLevel = *level;
    } else if (boolValue("verboseLogging").value_or(false)) {
        // The switch that came before the level: still honoured, never written or removed.
        loaded.logLevel = LogLevel::debug;
    }
}

void ConfigurationManager::loadMetricToggles(MonitorConfig& loaded) const {
    assignIf(boolValue("collectCPU"), loaded.collectCPU);
    assignIf(boolValue("collectMemory"), loaded.collectMemory);
    assignIf(boolValue("collectDisk"), loaded.collectDisk);
    assignIf(boolValue("collectNetwork"), loaded.collectNetwork);
    assignIf(boolValue("collectProcesses"), loaded.collectProcesses);
    assignIf(boolValue("aggregateProcesses"), loaded.aggregateProcesses);
    assignIf(boolValue("showPIDsInUI"), loaded.showPIDsInUI);
    assignIf(boolValue("collectPower"), loaded.collectPower);
    assignIf(boolValue("collectGPU"), loaded.collectGPU);
    assignIf(boolValue("collectSystem"), loaded.collectSystem);
}

void ConfigurationManager::loadUploadSettings(MonitorConfig& loaded) const {
    assignIf(boolValue("uploadEnabled"), loaded.uploadEnabled);
    assignIf(defaults_->string("hecEndpoint"), loaded.hecEndpoint);
    assignIf(defaults_->string("hecToken"), loaded.hecToken);
    assignIf(defaults_->string("splunkIndex"), loaded.splunkIndex);
    assignIf(defaults_->string("sourcetype"), loaded.sourcetype);
    assignIf(boolValue("verifySSL"), loaded.verifySSL);
    assignIf(positiveIntValue("uploadIntervalMinutes"), loaded.uploadIntervalMinutes);
}

void ConfigurationManager::loadAlertSettings(MonitorConfig& loaded) const {
    assignIf(boolValue("alertsEnabled"), loaded.alertsEnabled);
    assignIf(boolValue("alertInBackground"), loaded.alertInBackground);
    // Above 100 is dropped here rather than clamped: a stored 150 is taken for a mistake, not
    // for "as high as possible".
    if (const auto threshold = positiveIntValue("alertCPUThreshold");
        threshold && *threshold <= 100) {
        loaded.alertCPUThreshold = *threshold;
    }
    assignIf(intValue("alertSustainedSeconds"), loaded.alertSustainedSeconds);
    if (const auto level = intValue("alertMemoryPressureLevel");
        level && (*level == 0 || *level == 2 || *level == 4)) {
        loaded.alertMemoryPressureLevel = *level;
    }
    assignIf(intValue("alertMemorySustainedSeconds"), loaded.alertMemorySustainedSeconds);
    assignIf(positiveIntValue("alertCooldownMinutes"), loaded.alertCooldownMinutes);
    assignIf(boolValue("alertShowNotification"), loaded.alertShowNotification);
    assignIf(boolValue("alertLogEvents"), loaded.alertLogEvents);
}

void ConfigurationManager::loadNotificationMessages(MonitorConfig& loaded) const {
    assignIf(defaults_->string("alertCPUNotificationTitle"), loaded.alertCPUNotificationTitle);
    assignIf(defaults_->string("alertCPUNotificationBody"), loaded.alertCPUNotificationBody);
    assignIf(defaults_->string("alertMemoryNotificationTitle"),
             loaded.alertMemoryNotificationTitle);
    assignIf(defaults_->string("alertMemoryNotificationBody"), loaded.alertMemoryNotificationBody);
}

void ConfigurationManager::validateConfig() {
    // Each correction is a change of its own, so that observers see exactly what moved.
    for (const SettingRange& range : kSettingRanges) {
        const int64_t value = config.get().*range.field;
        const int64_t corrected = std::clamp(value, range.lowest, range.highest);
        if (corrected != value)
            config.modify([&](MonitorConfig& c) { c.*range.field = corrected; });
    }
    if (config->rotationPolicy != "daily" && config->rotationPolicy != "hourly") {
        config.modify([](MonitorConfig& c) { c.rotationPolicy = "daily"; });
    }
    const int64_t level = config->alertMemoryPressureLevel;
    if (level != 0 && level != 2 && level != 4) {
        config.modify([](MonitorConfig& c) { c.alertMemoryPressureLevel = 4; });
    }
}

bool ConfigurationManager::hasManagedPreferences() const {
    // Deliberately narrow: forcing only, say, the endpoint locks that control but does not make
    // the machine count as managed.
    for (const auto* key :
         {"storageEnabled", "uploadEnabled", "autoStart", "intervalSeconds", "headlessMode"}) {
        if (defaults_->isForced(key)) return true;
    }
    return false;
}

void ConfigurationManager::saveToDefaults() {
    const MonitorConfig& c = config.get();
    // A forced key is passed over, so the managed value never lands in the user's layer and
    // the user's own value is still there when the profile goes.
    const auto write = [this](std::string_view key, PreferenceValue value) {
        if (!defaults_->isForced(key)) defaults_->set(key, std::move(value));
    };
    write("intervalSeconds", c.intervalSeconds);
    write("autoStart", c.autoStart);
    write("captureDurationMinutes", c.captureDurationMinutes);
    write("watchedProcesses", c.watchedProcesses);
    write("headlessMode", c.headlessMode);
    write("minimalUI", c.minimalUI);
    write("logLevel", logLevelRaw(c.logLevel));
    write("collectCPU", c.collectCPU);
    write("collectMemory", c.collectMemory);
    write("collectDisk", c.collectDisk);
    write("collectNetwork", c.collectNetwork);
    write("collectProcesses", c.collectProcesses);
    write("aggregateProcesses", c.aggregateProcesses);
    write("showPIDsInUI", c.showPIDsInUI);
    write("collectPower", c.collectPower);
    write("collectGPU", c.collectGPU);
    write("collectSystem", c.collectSystem);
    write("storageEnabled", c.storageEnabled);
    write("maxStorageMB", c.maxStorageMB);
    write("retentionDays", c.retentionDays);
    write("rotationPolicy", c.rotationPolicy);
    write("uploadEnabled", c.uploadEnabled);
    write("hecEndpoint", c.hecEndpoint);
    write("hecToken", c.hecToken);
    write("splunkIndex", c.splunkIndex);
    write("sourcetype", c.sourcetype);
    write("verifySSL", c.verifySSL);
    write("uploadIntervalMinutes", c.uploadIntervalMinutes);
    write("alertsEnabled", c.alertsEnabled);
    write("alertInBackground", c.alertInBackground);
    write("alertCPUThreshold", c.alertCPUThreshold);
    write("alertSustainedSeconds", c.alertSustainedSeconds);
    write("alertMemoryPressureLevel", c.alertMemoryPressureLevel);
    write("alertMemorySustainedSeconds", c.alertMemorySustainedSeconds);
    write("alertCooldownMinutes", c.alertCooldownMinutes);
    write("alertShowNotification", c.alertShowNotification);
    write("alertLogEvents", c.alertLogEvents);
    write("alertCPUNotificationTitle", c.alertCPUNotificationTitle);
    write("alertCPUNotificationBody", c.alertCPUNotificationBody);
    write("alertMemoryNotificationTitle", c.alertMemoryNotificationTitle);
    write("alertMemoryNotificationBody", c.alertMemoryNotificationBody);
}

void ConfigurationManager::logConfig() const {
    const MonitorConfig& c = config.get();
    const auto debug = [](const std::string& line) {
        Logger::debug(line, Logger::Category::general);
    };
    debug(fmt::format("Config: interval={}s, autoStart={}, duration={}m", c.intervalSeconds,
                      c.autoStart, c.captureDurationMinutes));
    debug(fmt::format("Config: headless={}, minimalUI={}, logLevel={}", c.headlessMode, c.minimalUI,
                      displayName(c.logLevel)));
    debug(fmt::format("Config: collectCPU={}, collectMemory={}, collectDisk={}, collectNetwork={}",
                      c.collectCPU, c.collectMemory, c.collectDisk, c.collectNetwork));
    debug(
        fmt::format("Config: collectProcesses={}, collectPower={}, collectGPU={}, collectSystem={}",
                    c.collectProcesses, c.collectPower, c.collectGPU, c.collectSystem));
    debug(fmt::format("Config: storageEnabled={}, maxStorage={}MB, retention={}d", c.storageEnabled,
                      c.maxStorageMB, c.retentionDays));
    debug(fmt::format("Config: uploadEnabled={}, uploadInterval={}m", c.uploadEnabled,
                      c.uploadIntervalMinutes));
    debug(fmt::format("Config: alertsEnabled={}, cpuThreshold={}%, memPressure={}", c.alertsEnabled,
                      c.alertCPUThreshold, c.alertMemoryPressureLevel));
}

}  // namespace ostrel
