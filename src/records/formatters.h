#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/clock.h"

namespace ostrel::Formatters {

// The three forms of time in metric files, deliberately different:
// a sample's local time with offset and milliseconds ("2026-11-22T10:15:30.123-05:00"),
// a watched-process event's UTC with milliseconds ("2026-11-22T15:15:30.123Z"),
// an alert's UTC without fractions ("2026-11-22T15:15:30Z").
// A zone at offset zero prints "Z", as internet date-time does.
std::string localIso8601WithOffset(Date date);
std::string iso8601WithFractionalSeconds(Date date);
std::string iso8601(Date date);

// Parses internet date-time with a "Z" or numeric offset. The fractional form requires the
// fraction (any number of digits); the plain form refuses one.
std::optional<Date> parseIso8601WithFractionalSeconds(std::string_view text);
std::optional<Date> parseIso8601(std::string_view text);

// File-name stamps in the machine's current zone: "yyyy-MM-dd" and "yyyy-MM-dd-HH".
std::string dailyRotation(Date date);
std::string hourlyRotation(Date date);

// The log file's stamp: local time "yyyy-MM-dd'T'HH:mm:ss.SSS", without an offset.
std::string logStamp(Date date);

}  // namespace ostrel::Formatters

namespace ostrel {

// Rounds to `decimals` places, half away from zero: value * 10^d, rounded, divided.
double roundedTo(double value, int decimals);

}  // namespace ostrel
