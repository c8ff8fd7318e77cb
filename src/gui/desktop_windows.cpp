#include "gui/desktop_windows.h"

#include "logging/logger.h"

namespace ostrel {

void DesktopWindows::openDashboard() {
    Logger::info("Dashboard not shown: the dashboard window is not there yet",
                 Logger::Category::ui);
}

void DesktopWindows::openSettings() {
    Logger::info("Settings not shown: the settings window is not there yet", Logger::Category::ui);
}

}  // namespace ostrel
