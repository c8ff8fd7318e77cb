#pragma once

#include <QPointer>
#include <memory>

namespace ostrel {

class AppDelegate;
class DashboardWindow;
class LoginItemManager;
class SettingsWindow;
class SystemInfoSource;

// The module's windows beside the popup: the dashboard and the settings window. The tray menu,
// the popup and the command channel open them here; each is built on its first opening and
// brought to the front when opened again. The settings window is kept while the tray lives; the
// dashboard, which holds a loaded day, goes when closed and loads afresh when opened again.
class DesktopWindows {
  public:
    explicit DesktopWindows(AppDelegate& delegate);
    ~DesktopWindows();

    void openDashboard();
    void openSettings();

  private:
    AppDelegate& delegate_;
    // What the settings window shows besides the settings; built with it.
    std::unique_ptr<LoginItemManager> loginItem_;
    std::unique_ptr<SystemInfoSource> systemInfo_;
    std::unique_ptr<SettingsWindow> settings_;
    QPointer<DashboardWindow> dashboard_;  // deletes itself when closed
};

}  // namespace ostrel
