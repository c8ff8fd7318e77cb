#include "dashboard/alert_history.h"

#include "dashboard/chart_formatters.h"
#include "records/value_format.h"

namespace ostrel {
namespace {

std::vector<AlertProcessRow> processRows(
    const std::optional<std::vector<AlertProcessInfo>>& processes, bool byCPU) {
    std::vector<AlertProcessRow> rows;
    if (!processes) return rows;
    for (const AlertProcessInfo& process : *processes) {
        rows.push_back({process.pid, process.name,
                        byCPU ? ValueFormat::formatPercent(process.cpuPercent.value_or(0))
                              : ValueFormat::formatMB(process.memoryMB.value_or(0))});
    }
    return rows;
}

}  // namespace

AlertTypeStyle alertTypeStyle(const std::string& type) {
    if (type == "cpu_threshold") return {"High CPU", DashboardColor::orange, "cpu"};
    if (type == "memory_pressure_warning")
        return {"Memory Warning", DashboardColor::yellow, "memorychip"};
    if (type == "memory_pressure_critical")
        return {"Memory Critical", DashboardColor::red, "memorychip"};
    return {"Alert", DashboardColor::blue, "exclamationmark.triangle"};
}

void AlertHistory::setAlerts(std::vector<AlertEvent> alerts) {
    alerts_ = std::move(alerts);
    expandedAlertId_.reset();
}

void AlertHistory::toggle(const std::string& alertId) {
    if (expandedAlertId_ == alertId) {
        expandedAlertId_.reset();
    } else {
        expandedAlertId_ = alertId;
    }
}

std::vector<AlertCard> AlertHistory::cards(const std::optional<SourceTimeZone>& zone) const {
    std::vector<AlertCard> cards;
    cards.reserve(alerts_.size());
    for (size_t i = 0; i < alerts_.size(); ++i) {
        const AlertEvent& event = alerts_[i];
        const AlertDetails& alert = event.alert;
        // Alerts carry no identity of their own, and two may share a second and a type: the
        // position in the day's list tells them apart.
        std::string id = std::to_string(i);
        const bool open = expandedAlertId_ == id;
        AlertTypeStyle style = alertTypeStyle(alert.type);
        AlertCard card{.id = std::move(id),
                       .icon = std::move(style.icon),
                       .label = std::move(style.label),
                       .color = style.color,
                       .message = alert.message,
                       .time = ChartFormatters::dateTime(event.timestamp, zone),
                       .isExpanded = open,
                       .chevron = open ? "chevron.up" : "chevron.down"};
        if (open) {
            card.value = alert.value;
            card.threshold = alert.threshold;
            card.topCPUProcesses = processRows(alert.topCPUProcesses, true);
            card.topMemoryProcesses = processRows(alert.topMemoryProcesses, false);
        }
        cards.push_back(std::move(card));
    }
    return cards;
}

}  // namespace ostrel
