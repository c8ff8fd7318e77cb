// Writes a picture of each settings tab, with and without managed keys, light and dark, for a
// person to look at: ostrel_settings_pictures writes to ./settings-pictures, or to
// OSTREL_PICTURES_DIR.
#include <QDir>
#include <QScrollArea>
#include <QTabWidget>

#include "gui/settings/settings_scene.h"
#include "gui/test_application.h"

namespace ostrel::testing {
namespace {

using Variant = std::tuple<bool /*managed*/, bool /*dark*/>;

class SettingsPictures : public SettingsScene, public ::testing::WithParamInterface<Variant> {
  protected:
    void SetUp() override { useTestPalette(std::get<1>(GetParam())); }

    // Upload set up and tested, some data stored: the states a user meets most.
    void script() {
        const std::string managed = std::get<0>(GetParam())
                                        ? R"({"intervalSeconds": 5, "storageEnabled": true,
                                             "hecEndpoint": "https://splunk.corp:8088/services/collector/event"})"
                                        : "";
        dir.write("user.json", R"({"uploadEnabled": true, "hecToken": "1f2e3d4c",
                                   "hecEndpoint": "https://splunk.example.com:8088/services/collector/event",
                                   "retentionDays": 45, "alertsEnabled": true})");
        open(managed);
        monitor->storageSizeMB.set(14.62);
        monitor->storageHealth.set(StorageHealth{
            .oldestRecordTimestamp = "2026-11-21T08:00:02.118+01:00", .totalFilesCount = 3});
        monitor->connectionStatus.set(ConnectionStatus::connected());
        settle();
    }

    void save(int tab, const QString& state = {}) {
        window->tabs()->setCurrentIndex(tab);
        // Tall enough for the whole tab, as a person would scroll through it.
        auto* scroll = qobject_cast<QScrollArea*>(window->tabs()->currentWidget());
        window->resize(640, scroll->widget()->sizeHint().height() + 140);
        settle();
        const QString folder =
            qEnvironmentVariable("OSTREL_PICTURES_DIR", QStringLiteral("settings-pictures"));
        QDir().mkpath(folder);
        const auto [managed, dark] = GetParam();
        const QString file = QStringLiteral("%1/settings-%2%3%4-%5.png")
                                 .arg(folder, window->tabs()->tabText(tab).toLower(), state,
                                      managed ? "-managed" : "", dark ? "dark" : "light");
        ASSERT_TRUE(window->grab().save(file));
        std::printf("wrote %s\n", qPrintable(QDir(file).absolutePath()));
    }
};

TEST_P(SettingsPictures, EveryTab) {
    script();
    for (int tab = 0; tab < window->tabs()->count(); ++tab)
        save(tab);
}

// Upload on without a token and storage off, unless forced on: the warnings and a failed test.
TEST_P(SettingsPictures, Warnings) {
    script();
    configuration->config.modify([](MonitorConfig& c) {
        c.hecToken.clear();
        c.storageEnabled = false;
    });
    monitor->connectionStatus.set(ConnectionStatus::failed("Invalid HEC token"));
    settle();
    save(3, "-warnings");
    save(4, "-warnings");
}

INSTANTIATE_TEST_SUITE_P(Variants, SettingsPictures,
                         ::testing::Combine(::testing::Bool(), ::testing::Bool()),
                         [](const auto& variant) {
                             return std::string(std::get<0>(variant.param) ? "managed" : "plain") +
                                    (std::get<1>(variant.param) ? "Dark" : "Light");
                         });

}  // namespace
}  // namespace ostrel::testing
