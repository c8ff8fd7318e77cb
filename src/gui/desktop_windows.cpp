#include "gui/desktop_windows.h"

#include "app/app_delegate.h"
#include "app/login_item_manager.h"
#include "gui/settings/settings_window.h"
#include "logging/logger.h"
#include "platform/app_launcher.h"
#include "platform/app_paths.h"
#include "platform/collection_sources.h"
#include "platform/standard_preferences.h"

namespace ostrel {

DesktopWindows::DesktopWindows(AppDelegate& delegate) : delegate_(delegate) {}

DesktopWindows::~DesktopWindows() = default;

void DesktopWindows::openDashboard() {
    Logger::info("Dashboard not shown: the dashboard window is not there yet",
                 Logger::Category::ui);
}

void DesktopWindows::openSettings() {
    if (!settings_) {
        loginItem_ = std::make_unique<LoginItemManager>(
            makeLoginService(paths::autostartDirectory(), ownExecutable().value_or("ostrel")));
        systemInfo_ = std::move(makePlatformCollectionSources(systemClock()).system);
        settings_ = std::make_unique<SettingsWindow>(
            SettingsServices{
                .configuration = &delegate_.configManager(),
                .preferences = openStandardPreferences(),
                .monitor = &delegate_.monitor(),
                .alerts = &delegate_.alertManager(),
                .loginItemEnabled = &loginItem_->isEnabled,
                .setLoginItemEnabled = [this](bool on) { loginItem_->setEnabled(on); },
                .clearStoredData = [this] { delegate_.clearStoredData(); },
                .systemInfo = systemInfo_.get(),
            },
            [this] { openDashboard(); });
    }
    settings_->setWindowState(settings_->windowState() & ~Qt::WindowMinimized);
    settings_->show();
    settings_->raise();
    settings_->activateWindow();
}

}  // namespace ostrel
