#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "monitor/connection_status.h"
#include "records/published.h"
#include "settings/settings_controls.h"

namespace ostrel {

class AlertManager;
class ConfigurationManager;
class PerformanceMonitor;
class PreferencesStore;
class SystemInfoSource;

inline constexpr std::string_view kManagedBannerText =
    "Some settings are managed by your organization";
inline constexpr std::string_view kLockHelpText =
    "This setting is managed by MDM and cannot be changed";

// What one control shows now.
struct ControlState {
    SettingValue value;
    // Forced by the managed layer: the lock shows and the control takes no input.
    bool locked = false;
    // Pickers: the option of the value, none for a value that is not among them.
    std::optional<size_t> selectedOption;
    // Steppers: "Max Storage: 500 MB".
    std::string valueText;
    bool canStepUp = false;
    bool canStepDown = false;
};

// A line of status or warning: a symbol name of the design (may be empty), a heading (may be
// empty) and the text.
struct StatusLine {
    std::string_view icon;
    std::string heading;
    std::string text;

    bool operator==(const StatusLine&) const = default;
};

struct LabelledValue {
    std::string label;
    std::string value;
};

enum class NotificationPermission { checking, granted, notGranted };

struct AboutFacts {
    std::string productName;
    std::string subtitle;
    std::string version;
    std::vector<LabelledValue> system;
    // "Configuration managed by MDM" where the machine counts as managed.
    std::optional<StatusLine> managed;
};

// What the settings window works on. The monitor, the alert manager and the login item may be
// missing (a window opened for the settings alone, or a test); their parts then do nothing.
struct SettingsServices {
    ConfigurationManager* configuration = nullptr;
    // Answers which keys the managed layer forces.
    std::shared_ptr<const PreferencesStore> preferences;
    PerformanceMonitor* monitor = nullptr;
    AlertManager* alerts = nullptr;
    // The login item's state as the desktop reports it, and the way to change it; the state is
    // read back after each change.
    Published<bool>* loginItemEnabled = nullptr;
    std::function<void(bool enabled)> setLoginItemEnabled;
    // Deletes every stored file, resets the monitor's counters and refreshes its storage figures.
    std::function<void()> clearStoredData;
    SystemInfoSource* systemInfo = nullptr;
};

// The settings window's model: every value, option, lock, warning and status text the window
// shows, and what each action does to the configuration manager's settings, the store and the
// monitor. Views build their controls from settingsSections() and ask this for each state.
// Lives and is used on the main queue.
class SettingsViewModel {
  public:
    explicit SettingsViewModel(SettingsServices services);
    ~SettingsViewModel();
    SettingsViewModel(const SettingsViewModel&) = delete;
    SettingsViewModel& operator=(const SettingsViewModel&) = delete;

    // --- frame ---------------------------------------------------------------------------------
    // The banner above the tabs, when the machine counts as managed.
    std::optional<StatusLine> banner() const;
    bool isLocked(std::string_view key) const;
    ControlState state(const SettingControl& control) const;
    // "Done": saves, hands the settings to the monitor and restarts a running one.
    void done();

    // --- controls ------------------------------------------------------------------------------
    // A new value for the control `key`, from the user. Ignored for a locked key.
    void change(std::string_view key, SettingValue value);
    void selectOption(std::string_view key, size_t index);
    // One step of a stepper up (+1) or down (-1), kept within the control's range.
    void step(std::string_view key, int direction);

    // --- warnings ------------------------------------------------------------------------------
    std::optional<StatusLine> uploadNotConfigured() const;
    std::optional<StatusLine> alertStorageWarning() const;

    // --- storage status ------------------------------------------------------------------------
    std::vector<LabelledValue> storageStatus() const;
    std::string storageNote() const;
    void refreshStorage();
    // After the user confirmed kClearConfirmation.
    void clearAllData();
    static constexpr std::string_view kClearConfirmation =
        "This will permanently delete all stored metrics data.";

    // --- upload status -------------------------------------------------------------------------
    StatusLine connectionState() const;
    bool canTestConnection() const;
    void testConnection();
    std::string uploadNowTitle() const;
    bool canUploadNow() const;
    void uploadNow();

    // --- notifications -------------------------------------------------------------------------
    Published<NotificationPermission> notificationPermission{NotificationPermission::checking};
    void checkNotificationPermission();
    std::vector<StatusLine> notificationStatus() const;
    void sendTestAlert();

    // --- about ---------------------------------------------------------------------------------
    AboutFacts about() const;

    // Calls `changed` before each change of anything this model shows: the settings, the
    // monitor's status fields, the login item, the notification rights. Like every published
    // field it speaks before the value stands, so a view redraws on its next turn.
    // Ends when destroyed.
    class Observation {
      private:
        friend class SettingsViewModel;
        std::vector<std::shared_ptr<void>> subscriptions_;
    };
    [[nodiscard]] Observation observe(std::function<void()> changed);

  private:
    const MonitorConfig& config() const;
    // Saves, and hands the settings to the monitor when `configure`.
    void apply(ApplyRule rule);

    SettingsServices services_;
    // Expires with the model, so that a permission answer that comes later finds nothing.
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace ostrel
