#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/clock.h"

namespace ostrel {

// The zone of a source's timestamps: a fixed offset from GMT, or "UTC" for a "Z" suffix.
struct SourceTimeZone {
    int secondsFromGMT = 0;
    std::string identifier;  // "UTC", "GMT-0500"

    bool operator==(const SourceTimeZone&) const = default;
};

// Every timestamp the dashboard reads: internet date-time with a fraction, else without one.
std::optional<Date> parseTimestamp(std::string_view text);

// The zone a timestamp was written in, from its "+hh:mm"/"-hh:mm" suffix or a final "Z";
// absent for anything else. A source is taken to have the zone of its first sample.
std::optional<SourceTimeZone> extractTimezone(std::string_view timestamp);

// Formats with the fields "yyyy", "MMM", "d", "h", "HH", "mm" and "a" (English month names,
// AM/PM); other characters stand as they are. In `zone`, or the viewer's zone when absent.
std::string formatDate(Date date, std::string_view pattern,
                       const std::optional<SourceTimeZone>& zone = std::nullopt);

// "Nov 22, 9:05 AM – Nov 22, 5:40 PM": the span of a source, in the source's zone.
std::string formatTimeRange(Date start, Date end, const std::optional<SourceTimeZone>& zone);

// The zoom window for the header: "Nov 22, 09:05 – 10:40" within one day, else
// "Nov 22 23:10 – Nov 23 01:00". `zone` absent means the viewer's, as the header shows.
std::string formatZoomRange(Date start, Date end,
                            const std::optional<SourceTimeZone>& zone = std::nullopt);
// The span of a process's points: as formatZoomRange, but over several days with the year
// ("Dec 30, 2025 23:10 – Jan 2, 2026 08:00") when the start is not in the year of `now`.
std::string formatProcessDataRange(Date start, Date end, Date now,
                                   const std::optional<SourceTimeZone>& zone = std::nullopt);

}  // namespace ostrel
