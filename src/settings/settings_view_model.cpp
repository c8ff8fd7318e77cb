#include "settings/settings_view_model.h"

#include <fmt/format.h>

#include <algorithm>

#include "alerts/alert_manager.h"
#include "config/configuration_manager.h"
#include "monitor/performance_monitor.h"
#include "platform/preferences_store.h"
#include "platform/system_info_source.h"
#include "settings/settings_format.h"

namespace ostrel {
namespace {

constexpr std::string_view kWarningIcon = "exclamationmark.triangle.fill";
constexpr std::string_view kCheckmarkIcon = "checkmark.circle.fill";
constexpr std::string_view kManagedIcon = "lock.shield.fill";

template <class Value>
void subscribeTo(Published<Value>& published, const std::function<void()>& changed,
                 std::vector<std::shared_ptr<void>>& into) {
    into.push_back(std::make_shared<typename Published<Value>::Subscription>(
        published.subscribe([changed](const Value&) { changed(); })));
}

}  // namespace

SettingsViewModel::SettingsViewModel(SettingsServices services) : services_(std::move(services)) {}

SettingsViewModel::~SettingsViewModel() = default;

const MonitorConfig& SettingsViewModel::config() const {
    return services_.configuration->config.get();
}

std::optional<StatusLine> SettingsViewModel::banner() const {
    if (!services_.configuration->hasManagedPreferences()) return std::nullopt;
    return StatusLine{kManagedIcon, {}, std::string(kManagedBannerText)};
}

bool SettingsViewModel::isLocked(std::string_view key) const {
    // The login item is the desktop's, never a setting a profile can force.
    return key != kLaunchAtLogin && services_.preferences->isForced(key);
}

ControlState SettingsViewModel::state(const SettingControl& control) const {
    ControlState shown{.locked = isLocked(control.key)};
    if (control.field) {
        shown.value = readField(config(), *control.field);
    } else {
        shown.value = services_.loginItemEnabled && services_.loginItemEnabled->get();
    }
    const auto found = std::find_if(control.options.begin(), control.options.end(),
                                    [&](const PickerOption& o) { return o.value == shown.value; });
    if (found != control.options.end()) {
        shown.selectedOption = static_cast<size_t>(found - control.options.begin());
    }
    if (control.kind == ControlKind::stepper) {
        const int64_t number = std::get<int64_t>(shown.value);
        const StepperRange& range = control.range;
        shown.valueText = fmt::format("{}{}{}", range.prefix, number, range.suffix);
        shown.canStepUp = !shown.locked && number < range.maximum;
        shown.canStepDown = !shown.locked && number > range.minimum;
    }
    return shown;
}

void SettingsViewModel::change(std::string_view key, SettingValue value) {
    const SettingControl* control = findSettingControl(key);
    if (!control || isLocked(key)) return;
    if (control->apply == ApplyRule::loginItem) {
        if (services_.setLoginItemEnabled) services_.setLoginItemEnabled(std::get<bool>(value));
        return;
    }
    const bool turnedOn = value == SettingValue{true};
    services_.configuration->config.modify([&](MonitorConfig& c) {
        writeField(c, *control->field, value);
        // The upload queue is fed by the store: upload needs storage, and storage off ends upload,
        // except where a profile holds the other key.
        if (key == "storageEnabled" && !turnedOn && !isLocked("uploadEnabled")) {
            c.uploadEnabled = false;
        }
        if (key == "uploadEnabled" && turnedOn && !isLocked("storageEnabled")) {
            c.storageEnabled = true;
        }
    });
    if (key == "alertsEnabled" && turnedOn && services_.alerts) {
        services_.alerts->requestPermission();
    }
    apply(control->apply);
}

void SettingsViewModel::selectOption(std::string_view key, size_t index) {
    const SettingControl* control = findSettingControl(key);
    if (control && index < control->options.size()) change(key, control->options[index].value);
}

void SettingsViewModel::step(std::string_view key, int direction) {
    const SettingControl* control = findSettingControl(key);
    if (!control || control->kind != ControlKind::stepper) return;
    const ControlState now = state(*control);
    if (direction > 0 ? !now.canStepUp : !now.canStepDown) return;
    const StepperRange& range = control->range;
    // A value outside the range, stored or once forced, comes back into it at the first step.
    const int64_t next = std::get<int64_t>(now.value) + (direction > 0 ? range.step : -range.step);
    change(key, std::clamp(next, range.minimum, range.maximum));
}

void SettingsViewModel::apply(ApplyRule rule) {
    if (rule == ApplyRule::onDone || rule == ApplyRule::loginItem) return;
    services_.configuration->saveToDefaults();
    if (rule == ApplyRule::configureAndSave && services_.monitor) {
        services_.monitor->configure(config());
    }
}

void SettingsViewModel::done() {
    services_.configuration->saveToDefaults();
    PerformanceMonitor* monitor = services_.monitor;
    if (!monitor) return;
    monitor->configure(config());
    // A running monitor starts again, so that its timers and files begin on the new settings.
    if (monitor->isRunning.get()) {
        monitor->stop();
        monitor->start();
    }
}

std::optional<StatusLine> SettingsViewModel::uploadNotConfigured() const {
    const MonitorConfig& c = config();
    if (!c.uploadEnabled || (!c.hecEndpoint.empty() && !c.hecToken.empty())) return std::nullopt;
    return StatusLine{kWarningIcon, "Upload not configured",
                      "Enter your Splunk HEC endpoint and token below to enable uploads."};
}

std::optional<StatusLine> SettingsViewModel::alertStorageWarning() const {
    if (!config().alertLogEvents || config().storageEnabled) return std::nullopt;
    return StatusLine{
        kWarningIcon, {}, "Storage is disabled. Alert events will not be saved or uploaded."};
}

std::vector<LabelledValue> SettingsViewModel::storageStatus() const {
    const PerformanceMonitor* monitor = services_.monitor;
    const double sizeMB = monitor ? monitor->storageSizeMB.get() : 0;
    const auto health = monitor ? monitor->storageHealth.get() : std::nullopt;
    return {
        {"Disk usage:", formatDiskUsage(sizeMB, config().maxStorageMB)},
        {"Storage files:", std::to_string(health ? health->totalFilesCount : 0)},
        {"Oldest record:", health && health->oldestRecordTimestamp ? *health->oldestRecordTimestamp
                                                                   : std::string("None")},
    };
}

std::string SettingsViewModel::storageNote() const {
    return config().uploadEnabled
               ? "Records are uploaded to Splunk and kept locally based on retention settings."
               : "Records are stored locally. Enable Upload to send to Splunk.";
}

void SettingsViewModel::refreshStorage() {
    if (services_.monitor) services_.monitor->updateStorageStatus();
}

void SettingsViewModel::clearAllData() {
    if (services_.clearStoredData) services_.clearStoredData();
}

StatusLine SettingsViewModel::connectionState() const {
    const ConnectionStatus status =
        services_.monitor ? services_.monitor->connectionStatus.get() : ConnectionStatus{};
    switch (status.state()) {
        case ConnectionStatus::Case::unknown:
            return {"questionmark.circle", {}, "Not tested"};
        case ConnectionStatus::Case::testing:
            return {{}, {}, "Testing..."};
        case ConnectionStatus::Case::connected:
            return {kCheckmarkIcon, {}, "Connected"};
        case ConnectionStatus::Case::failed:
            break;
    }
    return {"xmark.circle.fill", {}, status.failureText()};
}

bool SettingsViewModel::canTestConnection() const {
    return !config().hecEndpoint.empty() && !config().hecToken.empty();
}

void SettingsViewModel::testConnection() {
    // The test runs on what the window shows, unsaved edits of the endpoint and token included.
    services_.configuration->saveToDefaults();
    if (!services_.monitor) return;
    services_.monitor->configure(config());
    services_.monitor->testConnection();
}

std::string SettingsViewModel::uploadNowTitle() const {
    return canUploadNow() ? "Upload Now" : "Uploading...";
}

bool SettingsViewModel::canUploadNow() const {
    return services_.monitor && !services_.monitor->isUploading.get();
}

void SettingsViewModel::uploadNow() {
    if (canUploadNow()) services_.monitor->uploadNow();
}

void SettingsViewModel::checkNotificationPermission() {
    if (!services_.alerts) {
        notificationPermission.set(NotificationPermission::notGranted);
        return;
    }
    notificationPermission.set(NotificationPermission::checking);
    services_.alerts->checkPermissionStatus(
        [this, alive = std::weak_ptr<bool>(alive_)](bool authorized) {
            if (alive.expired()) return;
            notificationPermission.set(authorized ? NotificationPermission::granted
                                                  : NotificationPermission::notGranted);
        });
}

std::vector<StatusLine> SettingsViewModel::notificationStatus() const {
    switch (notificationPermission.get()) {
        case NotificationPermission::checking:
            return {{{}, {}, "Checking notification permission..."}};
        case NotificationPermission::granted:
            return {{kCheckmarkIcon, {}, "Notifications enabled"}};
        case NotificationPermission::notGranted:
            break;
    }
    return {{kWarningIcon, {}, "Notifications not enabled"},
            {{}, {}, "Enable in System Settings > Notifications > Ostrel"}};
}

void SettingsViewModel::sendTestAlert() {
    // Independent of "Enable Alerts": the test is how a user checks notifications before that.
    if (services_.alerts) services_.alerts->sendTestAlert();
}

AboutFacts SettingsViewModel::about() const {
    AboutFacts facts{.productName = "Ostrel",
                     .subtitle = "Linux Performance Monitor",
                     .version = fmt::format("Version {}", OSTREL_VERSION)};
    if (SystemInfoSource* system = services_.systemInfo) {
        const auto known = [](std::optional<std::string> value) {
            return value && !value->empty() ? *value : std::string("Unknown");
        };
        facts.system = {
            {"Hostname:", system->hostName()},
            {"Hardware:", known(system->hardwareModel())},
            {"Processor:", known(system->cpuBrand())},
        };
    }
    if (services_.configuration->hasManagedPreferences()) {
        facts.managed = StatusLine{kManagedIcon, {}, "Configuration managed by MDM"};
    }
    return facts;
}

SettingsViewModel::Observation SettingsViewModel::observe(std::function<void()> changed) {
    Observation observation;
    auto& into = observation.subscriptions_;
    subscribeTo(services_.configuration->config, changed, into);
    subscribeTo(notificationPermission, changed, into);
    if (services_.loginItemEnabled) subscribeTo(*services_.loginItemEnabled, changed, into);
    if (PerformanceMonitor* monitor = services_.monitor) {
        subscribeTo(monitor->connectionStatus, changed, into);
        subscribeTo(monitor->isUploading, changed, into);
        subscribeTo(monitor->storageHealth, changed, into);
        subscribeTo(monitor->storageSizeMB, changed, into);
    }
    return observation;
}

}  // namespace ostrel
