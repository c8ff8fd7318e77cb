#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>

#include "gui/settings/setting_row.h"
#include "gui/settings/settings_scene.h"

namespace ostrel::testing {
namespace {

class SettingsWindowTest : public SettingsScene {
  protected:
    QPushButton* button(const QString& text) const {
        for (auto* candidate : window->findChildren<QPushButton*>()) {
            if (candidate->text() == text) return candidate;
        }
        ADD_FAILURE() << "no button " << text.toStdString();
        return nullptr;
    }
};

TEST_F(SettingsWindowTest, AManagedFileLocksItsTwoKeysAndNothingElse) {
    HecTestServer server("abc-token");
    open(R"({"intervalSeconds": 5, "hecEndpoint": ")" + server.url() + R"("})");
    EXPECT_EQ(window->tabs()->count(), 6);
    const auto banner = window->findChildren<QLabel*>();
    EXPECT_TRUE(std::ranges::any_of(banner, [&](QLabel* label) {
        return label->isVisibleTo(window.get()) &&
               label->text() == "Some settings are managed by your organization";
    }));

    std::vector<std::string> locked;
    for (SettingRow* each : window->findChildren<SettingRow*>()) {
        const std::string key = each->objectName().toStdString();
        if (lockShown(key)) locked.push_back(key);
        EXPECT_EQ(input(key)->isEnabled(), !lockShown(key)) << key;
    }
    std::ranges::sort(locked);
    EXPECT_EQ(locked, (std::vector<std::string>{"hecEndpoint", "intervalSeconds"}));
    auto* interval = qobject_cast<QComboBox*>(input("intervalSeconds"));
    EXPECT_EQ(interval->currentText(), "5 seconds");

    // The forced endpoint with the user's own token reaches the collector.
    qobject_cast<QCheckBox*>(input("uploadEnabled"))->click();
    qobject_cast<QCheckBox*>(input("verifySSL"))->click();  // the test collector signs itself
    settle();
    EXPECT_FALSE(button("Test Connection")->isEnabled()) << "no token yet";
    type("hecToken", "abc-token");
    ASSERT_TRUE(button("Test Connection")->isEnabled());
    button("Test Connection")->click();
    settle();
    EXPECT_TRUE(std::ranges::any_of(window->findChildren<QLabel*>(),
                                    [](QLabel* label) { return label->text() == "Connected"; }));
}

}  // namespace
}  // namespace ostrel::testing
