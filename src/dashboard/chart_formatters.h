#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "dashboard/chart_point.h"
#include "dashboard/dashboard_color.h"
#include "dashboard/dashboard_dates.h"

// The texts of the charts' axes, tooltips and labels.
namespace ostrel::ChartFormatters {

// "2:05:09 PM" and "Nov 22, 2:05:09 PM", in the source's zone, else the viewer's.
std::string time(Date date, const std::optional<SourceTimeZone>& zone);
std::string dateTime(Date date, const std::optional<SourceTimeZone>& zone);

// A line chart's value: "1.2K" from 1000 on, "250" from 100 on, else "12.5".
std::string formatValue(double value);
// "59s", "1m 0s", "1h 0m": the span of a drag.
std::string formatDuration(double seconds);
// A pressure level's colour by its text, any case: normal green, warning yellow, critical red.
DashboardColor pressureColor(std::string_view pressure);

// The capsule shown while dragging: the two dates as dragged, and for the CPU chart the span.
struct DragLabel {
    std::string from;
    std::string to;
    std::optional<std::string> duration;

    bool operator==(const DragLabel&) const = default;
};
DragLabel dragLabel(Date from, Date to, const std::optional<SourceTimeZone>& zone,
                    bool withDuration);

// The tooltip columns of a process.
std::string formattedMemory(const ProcessSnapshot& process);
std::string formattedRead(const DiskProcessSnapshot& process);
std::string formattedWrite(const DiskProcessSnapshot& process);

}  // namespace ostrel::ChartFormatters
