#include "app/status_menu.h"

namespace ostrel {

std::vector<StatusMenuItem> statusMenuItems(bool isRunning, bool hasValidDestination) {
    using Action = StatusMenuItem::Action;
    const StatusMenuItem separator;
    return {
        isRunning ? StatusMenuItem{Action::toggleMonitoring, "Stop Monitoring", "stop.fill", true}
                  : StatusMenuItem{Action::toggleMonitoring, "Start Monitoring", "play.fill",
                                   hasValidDestination},
        separator,
        {Action::openDashboard, "Open Dashboard", "chart.xyaxis.line", true},
        {Action::openSettings, "Settings…", "gear", true},
        separator,
        {Action::showMetricsFolder, "Show Metrics in Finder", "folder", true},
        separator,
        {Action::quitApp, "Quit Ostrel", "power", true},
    };
}

}  // namespace ostrel
