#include "dashboard/dashboard_dates.h"

#include <fmt/format.h>

#include <ctime>

#include "records/formatters.h"

namespace ostrel {
namespace {

constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::tm fieldsIn(Date date, const std::optional<SourceTimeZone>& zone) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date).time_since_epoch().count();
    std::tm tm{};
    if (zone) {
        const time_t shifted = static_cast<time_t>(seconds + zone->secondsFromGMT);
        gmtime_r(&shifted, &tm);
    } else {
        const auto local = static_cast<time_t>(seconds);
        localtime_r(&local, &tm);
    }
    return tm;
}

bool sameDay(const std::tm& a, const std::tm& b) {
    return a.tm_year == b.tm_year && a.tm_yday == b.tm_yday;
}

int twoDigits(char a, char b) {
    return (a - '0') * 10 + (b - '0');
}

}  // namespace

std::optional<Date> parseTimestamp(std::string_view text) {
    if (auto date = Formatters::parseIso8601WithFractionalSeconds(text)) return date;
    return Formatters::parseIso8601(text);
}

std::optional<SourceTimeZone> extractTimezone(std::string_view timestamp) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (timestamp.size() >= 6) {
        const std::string_view tail = timestamp.substr(timestamp.size() - 6);
        if ((tail[0] == '+' || tail[0] == '-') && isDigit(tail[1]) && isDigit(tail[2]) &&
            tail[3] == ':' && isDigit(tail[4]) && isDigit(tail[5])) {
            const int hours = twoDigits(tail[1], tail[2]), minutes = twoDigits(tail[4], tail[5]);
            const int magnitude = hours * 3600 + minutes * 60;
            const int seconds = tail[0] == '-' ? -magnitude : magnitude;
            return SourceTimeZone{
                seconds, fmt::format("GMT{}{:02}{:02}", seconds < 0 ? '-' : '+', hours, minutes)};
        }
    }
    if (timestamp.ends_with('Z')) return SourceTimeZone{0, "UTC"};
    return std::nullopt;
}

std::string formatDate(Date date, std::string_view pattern,
                       const std::optional<SourceTimeZone>& zone) {
    const std::tm tm = fieldsIn(date, zone);
    std::string out;
    for (size_t i = 0; i < pattern.size();) {
        const std::string_view rest = pattern.substr(i);
        if (rest.starts_with("yyyy")) {
            out += fmt::format("{}", tm.tm_year + 1900);
            i += 4;
        } else if (rest.starts_with("MMM")) {
            out += kMonths[tm.tm_mon];
            i += 3;
        } else if (rest.starts_with("HH")) {
            out += fmt::format("{:02}", tm.tm_hour);
            i += 2;
        } else if (rest.starts_with("mm")) {
            out += fmt::format("{:02}", tm.tm_min);
            i += 2;
        } else if (rest[0] == 'd') {
            out += fmt::format("{}", tm.tm_mday);
            ++i;
        } else if (rest[0] == 'h') {
            out += fmt::format("{}", tm.tm_hour % 12 == 0 ? 12 : tm.tm_hour % 12);
            ++i;
        } else if (rest[0] == 'a') {
            out += tm.tm_hour < 12 ? "AM" : "PM";
            ++i;
        } else {
            out += rest[0];
            ++i;
        }
    }
    return out;
}

std::string formatTimeRange(Date start, Date end, const std::optional<SourceTimeZone>& zone) {
    return formatDate(start, "MMM d, h:mm a", zone) + " – " +
           formatDate(end, "MMM d, h:mm a", zone);
}

std::string formatZoomRange(Date start, Date end, const std::optional<SourceTimeZone>& zone) {
    if (sameDay(fieldsIn(start, zone), fieldsIn(end, zone))) {
        return formatDate(start, "MMM d, HH:mm", zone) + " – " + formatDate(end, "HH:mm", zone);
    }
    return formatDate(start, "MMM d HH:mm", zone) + " – " + formatDate(end, "MMM d HH:mm", zone);
}

std::string formatProcessDataRange(Date start, Date end, Date now,
                                   const std::optional<SourceTimeZone>& zone) {
    const std::tm first = fieldsIn(start, zone);
    if (sameDay(first, fieldsIn(end, zone))) return formatZoomRange(start, end, zone);
    const char* pattern =
        first.tm_year == fieldsIn(now, zone).tm_year ? "MMM d HH:mm" : "MMM d, yyyy HH:mm";
    return formatDate(start, pattern, zone) + " – " + formatDate(end, pattern, zone);
}

}  // namespace ostrel
