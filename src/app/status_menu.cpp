#include "app/status_menu.h"

namespace ostrel {

std::vector<StatusMenuItem> statusMenuItems(bool isRunning, bool hasValidDestination) {
    using Action = StatusMenuItem::Action;
    const StatusMenuItem separator;
    return {
        isRunning ? StatusMenuItem{Action::toggleMonitoring, "Stop Monitoring",
                                   "media-playback-stop", true}
                  : StatusMenuItem{Action::toggleMonitoring, "Start Monitoring",
                                   "media-playback-start", hasValidDestination},
        separator,
        {Action::openDashboard, "Open Dashboard", "utilities-system-monitor", true},
        {Action::openSettings, "Settings…", "preferences-system", true},
        separator,
        {Action::showMetricsFolder, "Show Metrics in Finder", "folder", true},
        separator,
        {Action::quitApp, "Quit Ostrel", "application-exit", true},
    };
}

}  // namespace ostrel
