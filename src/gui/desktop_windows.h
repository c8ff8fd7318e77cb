#pragma once

namespace ostrel {

class AppDelegate;

// The module's windows beside the popup: the dashboard and the settings window. The tray menu,
// the popup and the command channel open them here; each is built on its first opening, kept
// while the tray lives, and brought to the front when opened again.
class DesktopWindows {
  public:
    explicit DesktopWindows(AppDelegate& delegate) : delegate_(delegate) {}

    void openDashboard();
    void openSettings();

  private:
    [[maybe_unused]] AppDelegate& delegate_;
};

}  // namespace ostrel
