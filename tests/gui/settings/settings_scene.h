#pragma once

#include <QApplication>
#include <memory>
#include <string>

#include "config/configuration_manager.h"
#include "gui/settings/settings_window.h"
#include "monitor/monitor_fixture.h"
#include "platform/collection_sources.h"

class QWidget;

namespace ostrel::testing {

// The settings window, offscreen, over the preferences files of a private HOME and a monitor on
// virtual time. Shared by the window's test and the program that writes its pictures.
class SettingsScene : public MonitorFixture {
  protected:
    SettingsScene();
    // The views go before the monitor they observe, which the base fixture releases.
    void TearDown() override;

    // Installs `managed` as the administrator's file (JSON; empty for none), then opens the
    // window over the store as it stands.
    SettingsWindow& open(const std::string& managed = {});
    // Runs the monitor's queues and the event loop until both are quiet.
    void settle();
    // The row of the control `key`, and the input and lock inside it.
    QWidget* row(const std::string& key) const;
    QWidget* input(const std::string& key) const;
    bool lockShown(const std::string& key) const;
    // Types `text` into the field of `key` as a keyboard would.
    void type(const std::string& key, const std::string& text);

    std::shared_ptr<PreferencesStore> store;
    std::unique_ptr<ConfigurationManager> configuration;
    Published<bool> loginItem{false};
    // This machine's facts, as the about tab shows them.
    std::unique_ptr<SystemInfoSource> systemInfo =
        makePlatformCollectionSources(systemClock()).system;
    std::unique_ptr<SettingsWindow> window;
};

}  // namespace ostrel::testing
