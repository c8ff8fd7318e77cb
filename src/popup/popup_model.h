#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "config/configuration_manager.h"
#include "monitor/performance_monitor.h"
#include "popup/popup_content.h"
#include "popup/popup_inputs.h"
#include "popup/process_aggregator.h"

namespace ostrel {

// The popup's view model: lives while the popup is open, follows the monitor's published fields
// and the settings, and publishes the whole content after each change, once per turn of the
// main queue. The panel shows `content` and sends the user's actions here. Built, used and
// released on the main queue.
class PopupModel {
  public:
    // What the shell does for the popup: the same toggle as the tray menu, and the windows.
    struct Actions {
        std::function<void()> toggleMonitoring;
        std::function<void()> openDashboard;
        std::function<void()> openSettings;
    };

    PopupModel(PerformanceMonitor& monitor, ConfigurationManager& configManager,
               SerialQueue& mainQueue, ProcessAggregator& aggregator, Actions actions,
               TimeOfDayFormat timeOfDay);
    ~PopupModel();
    PopupModel(const PopupModel&) = delete;
    PopupModel& operator=(const PopupModel&) = delete;

    Published<PopupContent> content;

    void toggleMonitoring() { actions_.toggleMonitoring(); }
    // Uploads now under the current settings.
    void performUpload();
    // Pins an unpinned name (the monitor refuses a sixth), unpins a pinned one.
    void togglePin(const std::string& name);
    void openDashboard() { actions_.openDashboard(); }
    void openSettings() { actions_.openSettings(); }

    void expandSearch();
    // Collapses the search and forgets its text.
    void collapseSearch();
    void setSearchText(const std::string& text);

  private:
    PopupInputs inputs() const;
    // Rebuilds the content on the next turn of the main queue, when the announced values stand.
    void scheduleRefresh();
    void refresh();

    PerformanceMonitor& monitor_;
    ConfigurationManager& configManager_;
    SerialQueue& mainQueue_;
    ProcessAggregator& aggregator_;
    Actions actions_;
    TimeOfDayFormat timeOfDay_;
    std::string searchText_;
    bool searchExpanded_ = false;
    bool refreshPending_ = false;
    // Queued refreshes hold this weakly and do nothing once the model is gone.
    std::shared_ptr<PopupModel*> self_;
    // Subscriptions of every field read, ended with the model.
    std::vector<std::shared_ptr<void>> subscriptions_;
};

}  // namespace ostrel
