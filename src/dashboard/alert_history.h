#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dashboard/dashboard_color.h"
#include "dashboard/dashboard_dates.h"
#include "records/alert_event.h"

namespace ostrel {

struct AlertProcessRow {
    int64_t pid = 0;
    std::string name;
    std::string value;  // "85.0%" or "1.2 GB"

    bool operator==(const AlertProcessRow&) const = default;
};

// One alert's card; the detail fields show only while it is open.
struct AlertCard {
    std::string id;
    std::string icon;
    std::string label;
    DashboardColor color = DashboardColor::blue;
    std::string message;
    std::string time;  // "Nov 22, 2:05:09 PM" in the source's zone
    bool isExpanded = false;
    std::string chevron;  // "chevron.up" open, "chevron.down" closed
    std::string value;
    std::optional<std::string> threshold;  // after thresholdTitle
    std::vector<AlertProcessRow> topCPUProcesses;
    std::vector<AlertProcessRow> topMemoryProcesses;
    std::string thresholdTitle = "Threshold";
    std::string topCPUTitle = "Top CPU Consumers (per core)";
    std::string topMemoryTitle = "Top Memory Consumers";

    bool operator==(const AlertCard&) const = default;
};

// The type's label, colour and icon. The comparison is exact on purpose: the types this system
// writes ("cpu_high", "memory_warning", "memory_critical") all read "Alert" in blue, and only
// files with the three named types show their own labels.
struct AlertTypeStyle {
    std::string label;
    DashboardColor color = DashboardColor::blue;
    std::string icon;

    bool operator==(const AlertTypeStyle&) const = default;
};
AlertTypeStyle alertTypeStyle(const std::string& type);

// The section's header, and its texts while the day has no alert.
struct AlertHistoryHeader {
    std::string icon = "bell.badge";
    std::string title = "Alert History";
    std::string count;
    std::string emptyTitle = "No alerts";
    std::string emptyDetail = "System is running normally";

    bool operator==(const AlertHistoryHeader&) const = default;
};

// The day's alerts as cards, at most one of them open.
class AlertHistory {
  public:
    void setAlerts(std::vector<AlertEvent> alerts);
    // Opens the card, closing any other, or closes it if it was open.
    void toggle(const std::string& alertId);
    const std::optional<std::string>& expandedAlertId() const { return expandedAlertId_; }

    size_t count() const { return alerts_.size(); }
    // The view then shows the header's empty texts instead of cards.
    bool isEmpty() const { return alerts_.empty(); }
    AlertHistoryHeader header() const { return {.count = std::to_string(alerts_.size())}; }
    std::vector<AlertCard> cards(const std::optional<SourceTimeZone>& zone) const;

  private:
    std::vector<AlertEvent> alerts_;
    std::optional<std::string> expandedAlertId_;
};

}  // namespace ostrel
