#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "records/monitor_config.h"

namespace ostrel {

// What the settings window shows, as data: its tabs, their sections and every control with its
// label, help text, options and the rule for when a change takes effect. The window builds its
// widgets from these tables; SettingsViewModel gives each control its current state.

enum class SettingsTab { general, collection, storage, upload, alerts, about };

struct SettingsTabInfo {
    SettingsTab tab;
    std::string_view title;
    // A symbol name of the design ("gear"); the desktop module maps it to an icon.
    std::string_view icon;
};

// The six tabs, in order.
std::span<const SettingsTabInfo> settingsTabs();

// A control's value: toggles hold a bool, pickers and steppers an integer (the log level its raw
// value), text fields and the rotation picker a string.
using SettingValue = std::variant<bool, int64_t, std::string>;

// Where a control's value lives in the settings record.
using SettingField = std::variant<bool MonitorConfig::*, int64_t MonitorConfig::*,
                                  std::string MonitorConfig::*, LogLevel MonitorConfig::*>;

SettingValue readField(const MonitorConfig& config, const SettingField& field);
// `value` must be of the field's own kind (an integer for the log level).
void writeField(MonitorConfig& config, const SettingField& field, const SettingValue& value);

enum class ControlKind { toggle, picker, stepper, textField, secureField };

// When a change reaches the preferences store and the monitor.
enum class ApplyRule {
    onDone,            // with the window's "Done"
    save,              // saved at once
    configureAndSave,  // saved and handed to the monitor at once
    loginItem,         // registered with the desktop at once; no setting holds it
};

struct PickerOption {
    SettingValue value;
    std::string label;
};

// A stepper's bounds, which bind the control only: a stored or managed value may lie outside.
struct StepperRange {
    int64_t minimum = 0;
    int64_t maximum = 0;
    int64_t step = 1;
    // The text around the number: "Max Storage: " and " MB".
    std::string_view prefix;
    std::string_view suffix;
};

struct SettingControl {
    // The preferences key, or kLaunchAtLogin for the login item's toggle.
    std::string_view key;
    ControlKind kind = ControlKind::toggle;
    std::string_view label;
    std::string_view help;
    ApplyRule apply = ApplyRule::onDone;
    // Absent for the login item only.
    std::optional<SettingField> field;
    std::vector<PickerOption> options;
    StepperRange range;
    std::string_view placeholder;
};

inline constexpr std::string_view kLaunchAtLogin = "launchAtLogin";

// What a section shows besides its controls, below them.
enum class SettingsPanel {
    none,
    storageStatus,
    uploadNotConfigured,
    connectionStatus,
    alertStorageWarning,
    notificationStatus,
    about,
};

struct SettingsSection {
    std::string_view heading;
    std::vector<SettingControl> controls;
    SettingsPanel panel = SettingsPanel::none;
    std::vector<std::string_view> footers;
};

// The sections of `tab`, in order.
const std::vector<SettingsSection>& settingsSections(SettingsTab tab);
// The control with `key` in any tab; null when there is none.
const SettingControl* findSettingControl(std::string_view key);

}  // namespace ostrel
