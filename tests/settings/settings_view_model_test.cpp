#include "settings/settings_view_model.h"

#include "config/configuration_manager.h"
#include "monitor/monitor_fixture.h"
#include "settings/settings_format.h"

namespace ostrel::testing {
namespace {

class SettingsTest : public MonitorFixture {
  protected:
    // The window over the store as it stands now, on a built monitor.
    void open() {
        if (!monitor) build();
        configuration.load();
        model = std::make_unique<SettingsViewModel>(SettingsServices{
            .configuration = &configuration,
            .preferences = preferences,
            .monitor = monitor.get(),
            .alerts = &windowAlerts,
            .loginItemEnabled = &loginItem,
            .setLoginItemEnabled = [this](bool on) { loginItem.set(on && !refuseLoginItem); },
        });
    }
    ControlState shown(std::string_view key) const {
        return model->state(*findSettingControl(key));
    }
    // Every control of every tab that shows its lock.
    std::vector<std::string_view> lockedControls() const {
        std::vector<std::string_view> locked;
        for (const auto& tab : settingsTabs()) {
            for (const auto& section : settingsSections(tab.tab)) {
                for (const auto& control : section.controls) {
                    if (model->state(control).locked) locked.push_back(control.key);
                }
            }
        }
        return locked;
    }

    ConfigurationManager configuration{preferences};
    FakeNotifier notifications;
    AlertManager windowAlerts{dispatcher.clock(), notifications, dispatcher.mainQueue()};
    Published<bool> loginItem{false};
    bool refuseLoginItem = false;
    std::unique_ptr<SettingsViewModel> model;
};

TEST_F(SettingsTest, LocksFollowEachForcedKeyWhateverTheBannerSays) {
    preferences->force("hecEndpoint", "https://forced.example:8088/services/collector/event");
    open();
    EXPECT_EQ(model->banner(), std::nullopt) << "the endpoint alone does not make it managed";
    EXPECT_EQ(lockedControls(), std::vector<std::string_view>{"hecEndpoint"});
    model->change("hecEndpoint", std::string("https://mine"));
    EXPECT_EQ(configuration.config->hecEndpoint,
              "https://forced.example:8088/services/collector/event");

    preferences->force("intervalSeconds", 5);
    open();
    EXPECT_EQ(model->banner()->text, kManagedBannerText);
    EXPECT_EQ(lockedControls(), (std::vector<std::string_view>{"intervalSeconds", "hecEndpoint"}));
    model->selectOption("intervalSeconds", 0);
    EXPECT_EQ(shown("intervalSeconds").value, SettingValue{int64_t{5}});
    EXPECT_EQ(shown("intervalSeconds").selectedOption, 3u);
}

TEST_F(SettingsTest, StorageAndUploadPullEachOtherUnlessTheOtherIsForced) {
    open();
    model->change("uploadEnabled", true);
    EXPECT_TRUE(monitor->currentConfig().uploadEnabled) << "applies at once";
    model->change("storageEnabled", false);
    EXPECT_FALSE(configuration.config->uploadEnabled);
    EXPECT_EQ(preferences->userValue("uploadEnabled"), PreferenceValue(false)) << "saved at once";
    EXPECT_TRUE(monitor->currentConfig().uploadEnabled) << "the storage toggle only saves";
    model->change("uploadEnabled", true);
    EXPECT_TRUE(configuration.config->storageEnabled);

    preferences->force("uploadEnabled", true);
    open();
    model->change("storageEnabled", false);
    EXPECT_TRUE(configuration.config->uploadEnabled);
    EXPECT_EQ(model->alertStorageWarning()->text,
              "Storage is disabled. Alert events will not be saved or uploaded.");
    model->change("alertLogEvents", false);
    EXPECT_EQ(model->alertStorageWarning(), std::nullopt);

    preferences->force("storageEnabled", false);
    open();
    EXPECT_FALSE(configuration.config->storageEnabled);
    EXPECT_EQ(model->uploadNotConfigured()->heading, "Upload not configured");
}

TEST_F(SettingsTest, OffListValuesShowNoSelectionAndStayUntilChanged) {
    preferences->set("retentionDays", 45);
    preferences->set("alertCPUThreshold", 75);
    preferences->set("maxStorageMB", 750);
    open();
    EXPECT_EQ(shown("retentionDays").selectedOption, std::nullopt);
    EXPECT_EQ(shown("alertCPUThreshold").selectedOption, std::nullopt);
    EXPECT_EQ(shown("maxStorageMB").valueText, "Max Storage: 750 MB");
    EXPECT_FALSE(shown("maxStorageMB").canStepUp) << "500 binds the stepper, not the setting";
    model->done();
    EXPECT_EQ(preferences->userValue("retentionDays"), PreferenceValue(45));
    EXPECT_EQ(preferences->userValue("alertCPUThreshold"), PreferenceValue(75));

    model->step("maxStorageMB", -1);
    EXPECT_EQ(configuration.config->maxStorageMB, 500);
    model->selectOption("retentionDays", 0);
    EXPECT_EQ(preferences->userValue("retentionDays"), PreferenceValue(45)) << "waits for Done";
    model->step("alertSustainedSeconds", -1);
    EXPECT_EQ(shown("alertSustainedSeconds").valueText, "CPU Sustained Duration: 0s");
}

TEST_F(SettingsTest, DoneSavesConfiguresAndRestartsOnlyARunningMonitor) {
    open();
    model->selectOption("logLevel", 0);
    model->done();
    EXPECT_EQ(preferences->userValue("logLevel"), PreferenceValue(0));
    EXPECT_EQ(monitor->currentConfig().logLevel, LogLevel::debug);
    EXPECT_FALSE(monitor->isRunning.get());

    monitor->start();
    std::vector<bool> running;
    auto watch = monitor->isRunning.subscribe([&](bool now) { running.push_back(now); });
    model->done();
    EXPECT_EQ(running, (std::vector<bool>{false, true}));
}

TEST_F(SettingsTest, TheConnectionIsTestedWithTheUnsavedEndpointAndToken) {
    HecTestServer server;
    open();
    EXPECT_EQ(model->connectionState().text, "Not tested");
    model->change("uploadEnabled", true);
    model->change("verifySSL", false);
    model->change("hecEndpoint", server.url());
    EXPECT_FALSE(model->canTestConnection());
    model->change("hecToken", server.token());
    ASSERT_TRUE(model->canTestConnection());
    model->testConnection();
    EXPECT_EQ(model->connectionState().text, "Testing...");
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->connectionState(), (StatusLine{"checkmark.circle.fill", {}, "Connected"}));
    EXPECT_EQ(preferences->userValue("hecToken"), PreferenceValue(server.token()));
    EXPECT_EQ(model->uploadNowTitle(), "Upload Now");
}

TEST_F(SettingsTest, NotificationsLoginItemAndTheTestAlertWithAlertsOff) {
    open();
    EXPECT_FALSE(configuration.config->alertsEnabled);
    model->sendTestAlert();
    EXPECT_EQ(notifications.posted.size(), 1u);

    notifications.granted = false;
    model->checkNotificationPermission();
    EXPECT_EQ(model->notificationStatus()[0].text, "Checking notification permission...");
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->notificationStatus()[1].text,
              "Enable in System Settings > Notifications > Ostrel");
    model->change("alertsEnabled", true);
    EXPECT_EQ(notifications.requests, 2) << "turning alerts on asks for rights";

    model->change(kLaunchAtLogin, true);
    EXPECT_EQ(shown(kLaunchAtLogin).value, SettingValue{true});
    refuseLoginItem = true;
    model->change(kLaunchAtLogin, true);
    EXPECT_EQ(shown(kLaunchAtLogin).value, SettingValue{false}) << "read back, so it flips back";
}

TEST(SettingsFormat, ValuesReadAsTheWindowShowsThem) {
    EXPECT_EQ(formatMinutes(1), "1 minute");
    EXPECT_EQ(formatMinutes(59), "59 minutes");
    EXPECT_EQ(formatMinutes(60), "1 hour");
    EXPECT_EQ(formatMinutes(119), "1 hour");
    EXPECT_EQ(formatMinutes(120), "2 hours");
    EXPECT_EQ(formatDays(1), "1 day");
    EXPECT_EQ(formatSeconds(10), "10 seconds");
    EXPECT_EQ(formatThreshold(90), ">90%");
    EXPECT_EQ(formatRotation("hourly"), "Hourly");
    EXPECT_EQ(formatDiskUsage(12.34, 500), "12.3 / 500 MB");
    const SettingControl& level = *findSettingControl("logLevel");
    EXPECT_EQ(level.options.back().label, "Errors Only");
}

}  // namespace
}  // namespace ostrel::testing
