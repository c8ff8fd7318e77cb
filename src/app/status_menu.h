#pragma once

#include <string>
#include <vector>

namespace ostrel {

// One entry of the tray item's menu, as the tray draws it. A separator has no title.
struct StatusMenuItem {
    enum class Action {
        separator,
        toggleMonitoring,
        openDashboard,
        openSettings,
        showMetricsFolder,
        quitApp,
    };
    Action action = Action::separator;
    std::string title;
    // The design's symbol name; the desktop module maps it to an icon-theme name.
    std::string icon;
    bool enabled = true;
};

// The menu for the monitor's state. Starting is offered only where samples have somewhere to
// go, so the menu never starts a monitor that would be refused.
std::vector<StatusMenuItem> statusMenuItems(bool isRunning, bool hasValidDestination);

}  // namespace ostrel
