#include "settings/settings_controls.h"

#include <fmt/format.h>

#include <array>
#include <functional>

#include "settings/settings_format.h"

namespace ostrel {
namespace {

using Kind = ControlKind;
using Apply = ApplyRule;
using Panel = SettingsPanel;
using C = MonitorConfig;

std::vector<PickerOption> numbered(std::initializer_list<int64_t> values,
                                   const std::function<std::string(int64_t)>& label) {
    std::vector<PickerOption> options;
    for (const int64_t value : values)
        options.push_back({value, label(value)});
    return options;
}

SettingControl toggle(std::string_view key, SettingField field, std::string_view label,
                      std::string_view help, Apply apply = Apply::onDone) {
    return {.key = key, .label = label, .help = help, .apply = apply, .field = field};
}

SettingControl picker(std::string_view key, SettingField field, std::string_view label,
                      std::vector<PickerOption> options, std::string_view help,
                      Apply apply = Apply::onDone) {
    return {.key = key,
            .kind = Kind::picker,
            .label = label,
            .help = help,
            .apply = apply,
            .field = field,
            .options = std::move(options)};
}

SettingControl stepper(std::string_view key, int64_t C::*field, std::string_view label,
                       StepperRange range, std::string_view help) {
    return {.key = key,
            .kind = Kind::stepper,
            .label = label,
            .help = help,
            .field = field,
            .range = range};
}

SettingControl text(std::string_view key, std::string C::*field, std::string_view label,
                    std::string_view placeholder, std::string_view help,
                    Kind kind = Kind::textField) {
    return {.key = key,
            .kind = kind,
            .label = label,
            .help = help,
            .field = field,
            .placeholder = placeholder};
}

std::vector<SettingsSection> generalTab() {
    std::vector<PickerOption> levels;
    for (const LogLevel level :
         {LogLevel::debug, LogLevel::info, LogLevel::warning, LogLevel::error}) {
        levels.push_back({int64_t{logLevelRaw(level)}, std::string(displayName(level))});
    }
    return {
        {"Startup",
         {
             {.key = kLaunchAtLogin,
              .label = "Launch at Login",
              .help = "Automatically start Ostrel when you log in to macOS.",
              .apply = Apply::loginItem},
             toggle("autoStart", &C::autoStart, "Start monitoring on launch",
                    "Automatically begin collecting metrics when the app starts."),
         }},
        {"Appearance",
         {
             toggle("minimalUI", &C::minimalUI, "Minimal UI",
                    "Show menu bar icon but hide CPU, memory, and process metrics. Only displays "
                    "collection/upload status counts."),
             toggle("aggregateProcesses", &C::aggregateProcesses, "Combine Related Processes",
                    "Groups helper processes under their parent app in the popup (e.g., Chrome "
                    "helpers shown as one entry). Logs always contain individual processes."),
             toggle("showPIDsInUI", &C::showPIDsInUI, "Show Process IDs (PIDs)",
                    "Display process IDs next to process names in the popup."),
         },
         Panel::none,
         {"These settings only affect the menu bar popup. Logs always contain full process "
          "details."}},
        {"Application Log",
         {picker("logLevel", &C::logLevel, "Log Level", std::move(levels),
                 // The log's place on this desktop, where the other platform names its own.
                 "Controls which messages are written to ~/.local/state/ostrel/ostrel.log. Debug "
                 "includes all details, Warning (default) shows only issues.")}},
    };
}

std::vector<SettingsSection> collectionTab() {
    const auto metric = [](std::string_view key, bool C::*field, std::string_view label,
                           std::string_view help) {
        return toggle(key, field, label, help, Apply::save);
    };
    return {
        {"Sampling",
         {picker("intervalSeconds", &C::intervalSeconds, "Collection Interval",
                 numbered({1, 2, 3, 5, 10}, formatSeconds),
                 "How often Ostrel samples system metrics. Applies to the menu bar display, local "
                 "storage, and Splunk uploads.",
                 Apply::configureAndSave)}},
        {"Metrics",
         {
             metric("collectCPU", &C::collectCPU, "CPU",
                    "Load averages, user/system/idle %, thermal state"),
             metric("collectMemory", &C::collectMemory, "Memory",
                    "Pressure level, total/used/available RAM, swap, page activity"),
             metric("collectDisk", &C::collectDisk, "Disk",
                    "Root volume capacity/usage, read/write KB/s, I/O ops"),
             metric("collectNetwork", &C::collectNetwork, "Network",
                    "Interface name, bytes/packets in/out, errors, connectivity"),
             metric("collectProcesses", &C::collectProcesses, "Processes",
                    "Top 5 by CPU, top 5 by memory, total process count"),
             metric("collectPower", &C::collectPower, "Power",
                    "Battery %, charging state, power source, sleep assertions"),
             metric("collectGPU", &C::collectGPU, "GPU",
                    "GPU model, utilization %, VRAM in-use, top GPU processes"),
             metric("collectSystem", &C::collectSystem, "System",
                    "macOS version, hardware model, chip type, uptime, console user"),
         },
         Panel::none,
         {"Disable unused metrics to reduce storage and upload volume."}},
    };
}

std::vector<SettingsSection> storageTab() {
    return {
        {"Local Storage",
         {toggle("storageEnabled", &C::storageEnabled, "Enable Local Storage",
                 "Store metrics in JSONL files locally for later analysis or upload to Splunk. "
                 "Required for remote upload.",
                 Apply::save)}},
        {"Retention Policy",
         {
             stepper("maxStorageMB", &C::maxStorageMB, "Max Storage",
                     {.minimum = 10,
                      .maximum = 500,
                      .step = 10,
                      .prefix = "Max Storage: ",
                      .suffix = " MB"},
                     "Maximum disk space for stored metrics. Oldest records are deleted when "
                     "exceeded."),
             picker("retentionDays", &C::retentionDays, "Retention",
                    numbered({1, 3, 7, 14, 30, 60, 90}, formatDays),
                    "Days to keep metrics before automatic deletion."),
             picker("rotationPolicy", &C::rotationPolicy, "File Rotation",
                    {{std::string("daily"), formatRotation("daily")},
                     {std::string("hourly"), formatRotation("hourly")}},
                    "How often to create new storage files. Daily = one file per day, Hourly = "
                    "one file per hour."),
         },
         Panel::none,
         {"Metrics are automatically pruned when storage exceeds the limit or after the "
          "retention period."}},
        {"Storage Status", {}, Panel::storageStatus},
    };
}

std::vector<SettingsSection> uploadTab() {
    return {
        {"Remote Upload",
         {toggle("uploadEnabled", &C::uploadEnabled, "Enable Remote Upload",
                 "Send collected metrics to a remote server (Splunk HEC). Metrics are batched and "
                 "uploaded periodically.",
                 Apply::configureAndSave)},
         Panel::uploadNotConfigured},
        {"Splunk HEC",
         {
             text("hecEndpoint", &C::hecEndpoint, "HEC Endpoint",
                  "https://splunk.example.com:8088/services/collector/event",
                  "Full URL of your Splunk HTTP Event Collector endpoint."),
             text("hecToken", &C::hecToken, "HEC Token", "",
                  "Authentication token for the HEC endpoint. Generated in Splunk Settings > "
                  "Data Inputs > HTTP Event Collector.",
                  Kind::secureField),
             text("splunkIndex", &C::splunkIndex, "Index", "",
                  "Splunk index where metrics will be stored."),
             text("sourcetype", &C::sourcetype, "Sourcetype", "macos:ostrel",
                  "Sourcetype tag for the uploaded events. Used for searching in Splunk."),
             toggle("verifySSL", &C::verifySSL, "Verify SSL Certificate",
                    "Validate SSL certificate. Disable for self-signed certificates in dev/test "
                    "environments."),
         }},
        {"Upload Behavior",
         {picker("uploadIntervalMinutes", &C::uploadIntervalMinutes, "Upload Interval",
                 numbered({1, 5, 15, 30, 60}, formatMinutes),
                 "How often to upload pending metrics to Splunk. Shorter = more real-time, longer "
                 "= fewer API calls.",
                 Apply::configureAndSave)},
         Panel::none,
         {"Metrics are batched and uploaded at the configured interval."}},
        {"Status", {}, Panel::connectionStatus},
    };
}

std::vector<SettingsSection> alertsTab() {
    const auto seconds = [](std::string_view prefix) {
        return StepperRange{
            .minimum = 0, .maximum = 300, .step = 5, .prefix = prefix, .suffix = "s"};
    };
    return {
        {"Alerts",
         {
             toggle("alertsEnabled", &C::alertsEnabled, "Enable Alerts",
                    "Get notified when CPU usage or memory pressure exceeds thresholds.",
                    Apply::configureAndSave),
             toggle("alertInBackground", &C::alertInBackground, "Alert When Not Monitoring",
                    "Check thresholds even when 'Start Monitoring' is not active. Uses minimal "
                    "resources (10-second checks).",
                    Apply::configureAndSave),
         },
         Panel::none,
         {"Alert on high CPU usage or critical memory pressure. Alerts are logged for upload to "
          "Splunk."}},
        {"Thresholds",
         {
             picker("alertCPUThreshold", &C::alertCPUThreshold, "CPU Alert Threshold",
                    numbered({50, 60, 70, 80, 90, 95}, formatThreshold),
                    "Alert when total CPU usage (user + system) exceeds this percentage."),
             stepper("alertSustainedSeconds", &C::alertSustainedSeconds, "CPU Sustained Duration",
                     seconds("CPU Sustained Duration: "),
                     "Seconds CPU must exceed threshold before alerting. 0 = immediate. Set "
                     "30-120s to avoid alerts from brief spikes."),
             picker("alertMemoryPressureLevel", &C::alertMemoryPressureLevel,
                    "Memory Pressure Alert", numbered({0, 2, 4}, formatPressureLevel),
                    "Alert when macOS reports this memory pressure level. Warning = starting to "
                    "compress, Critical = swapping to disk."),
             stepper("alertMemorySustainedSeconds", &C::alertMemorySustainedSeconds,
                     "Memory Sustained Duration", seconds("Memory Sustained Duration: "),
                     "Seconds memory pressure must persist before alerting. 0 = immediate."),
         },
         Panel::none,
         {"CPU alerts fire when usage exceeds the threshold for the sustained duration. Memory "
          "alerts fire when macOS reports the selected pressure level. Set duration to 0 for "
          "immediate alerts."}},
        {"Behavior",
         {
             picker("alertCooldownMinutes", &C::alertCooldownMinutes, "Cooldown Period",
                    numbered({1, 2, 3, 5, 10, 15, 30, 60},
                             [](int64_t n) { return fmt::format("{} minutes", n); }),
                    "Minimum time between repeated alerts for the same condition. Prevents alert "
                    "fatigue."),
             toggle("alertShowNotification", &C::alertShowNotification, "Show Notification",
                    "Display a macOS notification banner when an alert fires."),
             toggle("alertLogEvents", &C::alertLogEvents, "Log Events to Storage",
                    "Save alert events to storage for upload to Splunk. Disable for "
                    "notification-only alerts."),
         },
         Panel::alertStorageWarning,
         {"Cooldown prevents repeated alerts for the same condition.",
          "When logging is off, alerts trigger notifications only (not uploaded to Splunk)."}},
        {"Custom Messages",
         {
             text("alertCPUNotificationTitle", &C::alertCPUNotificationTitle, "CPU Alert Title",
                  "High CPU Usage", ""),
             text("alertCPUNotificationBody", &C::alertCPUNotificationBody, "CPU Alert Body",
                  "CPU usage is at {value} (threshold: {threshold})", ""),
             text("alertMemoryNotificationTitle", &C::alertMemoryNotificationTitle,
                  "Memory Alert Title", "Memory Pressure Alert", ""),
             text("alertMemoryNotificationBody", &C::alertMemoryNotificationBody,
                  "Memory Alert Body", "Memory pressure is {level}. Close some applications.", ""),
         },
         Panel::none,
         {"Leave blank to use default messages.", "CPU placeholders: {value}, {threshold}",
          "Memory placeholders: {value}, {threshold}, {level}"}},
        {"Notification Status", {}, Panel::notificationStatus},
    };
}

constexpr std::array<SettingsTabInfo, 6> kTabs{{
    {SettingsTab::general, "General", "gear"},
    {SettingsTab::collection, "Collection", "chart.bar"},
    {SettingsTab::storage, "Storage", "internaldrive"},
    {SettingsTab::upload, "Upload", "icloud.and.arrow.up"},
    {SettingsTab::alerts, "Alerts", "bell.badge"},
    {SettingsTab::about, "About", "info.circle"},
}};

const std::array<std::vector<SettingsSection>, 6>& allSections() {
    static const std::array<std::vector<SettingsSection>, 6> sections{
        generalTab(), collectionTab(), storageTab(),
        uploadTab(),  alertsTab(),     {{"", {}, Panel::about}},
    };
    return sections;
}

}  // namespace

std::span<const SettingsTabInfo> settingsTabs() {
    return kTabs;
}

const std::vector<SettingsSection>& settingsSections(SettingsTab tab) {
    return allSections()[static_cast<size_t>(tab)];
}

const SettingControl* findSettingControl(std::string_view key) {
    for (const auto& sections : allSections()) {
        for (const auto& section : sections) {
            for (const auto& control : section.controls) {
                if (control.key == key) return &control;
            }
        }
    }
    return nullptr;
}

SettingValue readField(const MonitorConfig& config, const SettingField& field) {
    return std::visit(
        [&](auto member) -> SettingValue {
            const auto& value = config.*member;
            if constexpr (std::is_same_v<std::decay_t<decltype(value)>, LogLevel>) {
                return int64_t{logLevelRaw(value)};
            } else {
                return value;
            }
        },
        field);
}

void writeField(MonitorConfig& config, const SettingField& field, const SettingValue& value) {
    std::visit(
        [&](auto member) {
            auto& target = config.*member;
            using Target = std::decay_t<decltype(target)>;
            if constexpr (std::is_same_v<Target, LogLevel>) {
                if (const auto level = logLevelFromRaw(std::get<int64_t>(value))) target = *level;
            } else {
                target = std::get<Target>(value);
            }
        },
        field);
}

}  // namespace ostrel
