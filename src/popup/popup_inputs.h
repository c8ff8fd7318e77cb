#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "records/monitor_config.h"
#include "records/process_search_result.h"
#include "records/system_metrics.h"
#include "records/watched_process_event.h"

namespace ostrel {

// What the popup reads: the monitor's published fields and the settings at one moment, and
// the search field's own state.
struct PopupInputs {
    bool isRunning = false;
    std::optional<Date> lastCollection;
    std::optional<SystemMetrics> lastMetrics;
    int64_t successCount = 0;
    std::optional<std::string> lastError;
    double storageSizeMB = 0;
    int64_t pendingUploadCount = 0;
    std::optional<Date> lastUploadDate;
    int64_t lastUploadCount = 0;
    int64_t totalUploadedCount = 0;
    bool isUploading = false;
    std::vector<std::string> pinnedProcesses;
    std::vector<WatchedProcessMetrics> watchedMetrics;
    std::vector<ProcessSearchResult> processSearchResults;
    MonitorConfig config;

    std::string searchText;
    bool searchExpanded = false;
};

// A time of day for the status rows ("14:05:09"): the user's zone in the application, a fixed
// one in tests.
using TimeOfDayFormat = std::function<std::string(Date)>;

}  // namespace ostrel
