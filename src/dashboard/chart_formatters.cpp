#include "dashboard/chart_formatters.h"

#include <fmt/format.h>

#include <cmath>

#include "records/text.h"
#include "records/value_format.h"

namespace ostrel::ChartFormatters {
namespace {

// Seconds within the minute, the same in every zone, as zones are whole minutes from GMT.
std::string secondsField(Date date) {
    const auto whole = std::chrono::floor<std::chrono::seconds>(date).time_since_epoch().count();
    return fmt::format("{:02}", ((whole % 60) + 60) % 60);
}

}  // namespace

std::string time(Date date, const std::optional<SourceTimeZone>& zone) {
    return formatDate(date, "h:mm", zone) + ":" + secondsField(date) + formatDate(date, " a", zone);
}

std::string dateTime(Date date, const std::optional<SourceTimeZone>& zone) {
    return formatDate(date, "MMM d, ", zone) + time(date, zone);
}

std::string formatValue(double value) {
    if (value >= 1000) return fmt::format("{:.1f}K", value / 1000);
    if (value >= 100) return fmt::format("{:.0f}", value);
    return fmt::format("{:.1f}", value);
}

std::string formatDuration(double seconds) {
    const auto whole = static_cast<int64_t>(std::floor(seconds));
    if (whole < 60) return fmt::format("{}s", whole);
    if (whole < 3600) return fmt::format("{}m {}s", whole / 60, whole % 60);
    return fmt::format("{}h {}m", whole / 3600, whole % 3600 / 60);
}

DashboardColor pressureColor(std::string_view pressure) {
    const std::string lowered = asciiLowered(pressure);
    if (lowered == "normal") return DashboardColor::green;
    if (lowered == "warning") return DashboardColor::yellow;
    if (lowered == "critical") return DashboardColor::red;
    return DashboardColor::secondary;
}

DragLabel dragLabel(Date from, Date to, const std::optional<SourceTimeZone>& zone,
                    bool withDuration) {
    DragLabel label{time(from, zone), time(to, zone), std::nullopt};
    if (withDuration) label.duration = formatDuration(std::abs(secondsBetween(from, to)));
    return label;
}

std::string formattedMemory(const ProcessSnapshot& process) {
    return ValueFormat::formatMB(process.memoryMB);
}

std::string formattedRead(const DiskProcessSnapshot& process) {
    return ValueFormat::formatRate(process.readBytesPerSec);
}

std::string formattedWrite(const DiskProcessSnapshot& process) {
    return ValueFormat::formatRate(process.writeBytesPerSec);
}

}  // namespace ostrel::ChartFormatters
