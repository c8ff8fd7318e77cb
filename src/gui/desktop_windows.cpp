#include "gui/desktop_windows.h"

#include "app/app_delegate.h"
#include "app/login_item_manager.h"
#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/dashboard_window.h"
#include "gui/settings/settings_window.h"
#include "platform/app_launcher.h"
#include "platform/app_paths.h"
#include "platform/collection_sources.h"
#include "platform/standard_preferences.h"

namespace ostrel {

namespace {

void bringToFront(QWidget& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

}  // namespace

DesktopWindows::DesktopWindows(AppDelegate& delegate) : delegate_(delegate) {}

DesktopWindows::~DesktopWindows() {
    delete dashboard_;
}

void DesktopWindows::openDashboard() {
    if (!dashboard_) {
        Dispatcher& dispatcher = delegate_.dispatcher();
        dashboard_ =
            new DashboardWindow(DashboardViewModel::create(DashboardDependencies::forThisMachine(
                                    dispatcher, openStandardPreferences())),
                                dispatcher.clock());
        dashboard_->setAttribute(Qt::WA_DeleteOnClose);
    }
    bringToFront(*dashboard_);
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
    bringToFront(*settings_);
}

}  // namespace ostrel
