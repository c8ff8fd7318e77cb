#include "gui/settings/settings_scene.h"

#include <QKeyEvent>
#include <QLineEdit>

#include "gui/settings/setting_row.h"
#include "gui/test_application.h"
#include "platform/linux/file_preferences_store.h"

namespace ostrel::testing {

SettingsScene::SettingsScene() {
    startTestApplication();
    build();
}

void SettingsScene::TearDown() {
    window.reset();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    MonitorFixture::TearDown();
}

SettingsWindow& SettingsScene::open(const std::string& managed) {
    const auto managedFile = dir / "managed.json";
    if (!managed.empty()) dir.write("managed.json", managed);
    store = std::make_shared<FilePreferencesStore>(dir / "user.json", managedFile);
    configuration = std::make_unique<ConfigurationManager>(store);
    configuration->load();
    window = std::make_unique<SettingsWindow>(
        SettingsServices{
            .configuration = configuration.get(),
            .preferences = store,
            .monitor = monitor.get(),
            .alerts = &alerts,
            .loginItemEnabled = &loginItem,
            .setLoginItemEnabled = [this](bool on) { loginItem.set(on); },
            .systemInfo = systemInfo.get(),
        },
        [] {});
    window->show();
    settle();
    return *window;
}

void SettingsScene::settle() {
    for (int round = 0; round < 3; ++round) {
        dispatcher.runUntilIdle();
        QApplication::processEvents();
    }
}

QWidget* SettingsScene::row(const std::string& key) const {
    return window->findChild<SettingRow*>(QString::fromStdString(key));
}

QWidget* SettingsScene::input(const std::string& key) const {
    return row(key)->findChild<QWidget*>(QStringLiteral("control"));
}

bool SettingsScene::lockShown(const std::string& key) const {
    return !row(key)->findChild<QWidget*>(QStringLiteral("lock"))->isHidden();
}

void SettingsScene::type(const std::string& key, const std::string& text) {
    auto* field = qobject_cast<QLineEdit*>(input(key));
    field->setFocus();
    for (const QChar c : QString::fromStdString(text)) {
        QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
        QApplication::sendEvent(field, &press);
    }
    settle();
}

}  // namespace ostrel::testing
