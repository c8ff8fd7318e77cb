#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "platform/preferences_store.h"
#include "records/monitor_config.h"
#include "records/published.h"

namespace ostrel {

// Turns the preferences store into a validated MonitorConfig and writes it back. Values forced
// by an administrator come through the store's reads like any other; this class only decides
// which key is read how, what an absent or out-of-range value becomes, and never writes a
// forced key. Lives on the main queue and takes no lock; two managers share only the store.
class ConfigurationManager {
  public:
    explicit ConfigurationManager(std::shared_ptr<PreferencesStore> defaults);

    // The current settings; defaults until the first load.
    Published<MonitorConfig> config;

    // Rebuilds `config` from the store in one assignment, then validates it.
    void load();
    // Writes every setting that is not forced to the user's layer of the store.
    void saveToDefaults();
    // Brings `config` into range, one notified change per corrected field. Only load calls it,
    // so that a value set by a control or a command reaches saveToDefaults as it was given.
    void validateConfig();
    // Whether a profile forces one of the keys that make this machine count as managed.
    bool hasManagedPreferences() const;
    // The settings at debug level, without the collector's endpoint or token.
    void logConfig() const;

  private:
    // The stored integer, or none when the key is absent.
    std::optional<int64_t> intValue(std::string_view key) const;
    // The same, but none for a value below 1 as well.
    std::optional<int64_t> positiveIntValue(std::string_view key) const;
    std::optional<bool> boolValue(std::string_view key) const;

    void loadCollectionSettings(MonitorConfig& config) const;
    void loadUISettings(MonitorConfig& config) const;
    void loadMetricToggles(MonitorConfig& config) const;
    void loadUploadSettings(MonitorConfig& config) const;
    void loadAlertSettings(MonitorConfig& config) const;
    void loadNotificationMessages(MonitorConfig& config) const;

    std::shared_ptr<PreferencesStore> defaults_;
};

}  // namespace ostrel
