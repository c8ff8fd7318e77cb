#include "records/formatters.h"

#include <array>
#include <cmath>
#include <ctime>

namespace ostrel {
namespace {

using namespace std::chrono;

struct Fields {
    int year, month, day, hour, minute, second, millisecond;
    long offsetSeconds;
};

// Floor division so that dates before 1970 split into seconds and milliseconds correctly.
std::pair<time_t, int> splitMilliseconds(Date date) {
    const auto ms = duration_cast<milliseconds>(date.time_since_epoch()).count();
    time_t seconds = static_cast<time_t>(ms / 1000);
    int fraction = static_cast<int>(ms % 1000);
    if (fraction < 0) {
        fraction += 1000;
        --seconds;
    }
    return {seconds, fraction};
}

Fields fieldsOf(Date date, bool local) {
    const auto [seconds, fraction] = splitMilliseconds(date);
    std::tm tm{};
    if (local) {
        localtime_r(&seconds, &tm);
    } else {
        gmtime_r(&seconds, &tm);
    }
    return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour,
            tm.tm_min,         tm.tm_sec,     fraction,   local ? tm.tm_gmtoff : 0};
}

// Appends `value` as at least `width` digits, zero-padded: fmt's "{:0N}" without its format
// parser, which costs more than the rest of a sample's time stamp together.
void appendPadded(std::string& text, long value, int width) {
    if (value < 0) {
        text += '-';
        value = -value;
        --width;
    }
    char digits[24];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value > 0);
    for (int i = count; i < width; ++i)
        text += '0';
    while (count > 0)
        text += digits[--count];
}

void appendZoneSuffix(std::string& text, long offsetSeconds) {
    if (offsetSeconds == 0) {
        text += 'Z';
        return;
    }
    text += offsetSeconds < 0 ? '-' : '+';
    const long magnitude = std::labs(offsetSeconds) / 60;
    appendPadded(text, magnitude / 60, 2);
    text += ':';
    appendPadded(text, magnitude % 60, 2);
}

// "yyyy-MM-dd", then "-HH" or "THH:mm:ss" where asked.
enum class Until { day, hour, second };

std::string dateText(const Fields& f, Until until, char hourSeparator = 'T') {
    std::string text;
    text.reserve(32);
    appendPadded(text, f.year, 4);
    text += '-';
    appendPadded(text, f.month, 2);
    text += '-';
    appendPadded(text, f.day, 2);
    if (until == Until::day) return text;
    text += hourSeparator;
    appendPadded(text, f.hour, 2);
    if (until == Until::hour) return text;
    text += ':';
    appendPadded(text, f.minute, 2);
    text += ':';
    appendPadded(text, f.second, 2);
    return text;
}

std::string dateTimeWithMilliseconds(const Fields& f) {
    std::string text = dateText(f, Until::second);
    text += '.';
    appendPadded(text, f.millisecond, 3);
    return text;
}

// Days since 1970-01-01 of a proleptic Gregorian date (Howard Hinnant's days_from_civil).
int64_t daysFromCivil(int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const auto yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

class Scanner {
  public:
    explicit Scanner(std::string_view text) : text_(text) {}

    bool digits(size_t count, int& out) {
        if (position_ + count > text_.size()) return false;
        int value = 0;
        for (size_t i = 0; i < count; ++i) {
            const char c = text_[position_ + i];
            if (c < '0' || c > '9') return false;
            value = value * 10 + (c - '0');
        }
        position_ += count;
        out = value;
        return true;
    }
    bool literal(char expected) {
        if (position_ >= text_.size() || text_[position_] != expected) return false;
        ++position_;
        return true;
    }
    bool peek(char expected) const {
        return position_ < text_.size() && text_[position_] == expected;
    }
    bool atEnd() const { return position_ == text_.size(); }

  private:
    std::string_view text_;
    size_t position_ = 0;
};

std::optional<Date> parseInternetDateTime(std::string_view text, bool fractional) {
    Scanner scan(text);
    int year, month, day, hour, minute, second;
    if (!(scan.digits(4, year) && scan.literal('-') && scan.digits(2, month) && scan.literal('-') &&
          scan.digits(2, day) && (scan.literal('T') || scan.literal('t')) && scan.digits(2, hour) &&
          scan.literal(':') && scan.digits(2, minute) && scan.literal(':') &&
          scan.digits(2, second))) {
        return std::nullopt;
    }
    if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60) {
        return std::nullopt;
    }
    nanoseconds fraction{0};
    if (fractional) {
        if (!scan.literal('.')) return std::nullopt;
        int digit, count = 0;
        int64_t scale = 100'000'000;
        while (scan.digits(1, digit)) {
            fraction += nanoseconds(digit * scale);
            scale /= 10;
            ++count;
        }
        if (count == 0) return std::nullopt;
    } else if (scan.peek('.')) {
        return std::nullopt;
    }
    int64_t offsetSeconds = 0;
    if (!(scan.literal('Z') || scan.literal('z'))) {
        const bool negative = scan.peek('-');
        if (!(scan.literal('+') || scan.literal('-'))) return std::nullopt;
        int offsetHours, offsetMinutes;
        if (!scan.digits(2, offsetHours)) return std::nullopt;
        scan.literal(':');
        if (!scan.digits(2, offsetMinutes) || offsetHours > 23 || offsetMinutes > 59) {
            return std::nullopt;
        }
        offsetSeconds = (offsetHours * 3600 + offsetMinutes * 60) * (negative ? -1 : 1);
    }
    if (!scan.atEnd()) return std::nullopt;
    const int64_t epochSeconds = daysFromCivil(year, month, day) * 86400 + hour * 3600 +
                                 minute * 60 + second - offsetSeconds;
    return Date(duration_cast<Date::duration>(seconds(epochSeconds) + fraction));
}

}  // namespace

namespace Formatters {

std::string localIso8601WithOffset(Date date) {
    const Fields f = fieldsOf(date, true);
    std::string text = dateTimeWithMilliseconds(f);
    appendZoneSuffix(text, f.offsetSeconds);
    return text;
}

std::string iso8601WithFractionalSeconds(Date date) {
    return dateTimeWithMilliseconds(fieldsOf(date, false)) + 'Z';
}

std::string iso8601(Date date) {
    return dateText(fieldsOf(date, false), Until::second) + 'Z';
}

std::optional<Date> parseIso8601WithFractionalSeconds(std::string_view text) {
    return parseInternetDateTime(text, true);
}

std::optional<Date> parseIso8601(std::string_view text) {
    return parseInternetDateTime(text, false);
}

std::string dailyRotation(Date date) {
    return dateText(fieldsOf(date, true), Until::day);
}

std::string hourlyRotation(Date date) {
    return dateText(fieldsOf(date, true), Until::hour, '-');
}

std::string logStamp(Date date) {
    return dateTimeWithMilliseconds(fieldsOf(date, true));
}

}  // namespace Formatters

double roundedTo(double value, int decimals) {
    // Every figure of every sample comes through here: the usual scales without pow, which
    // gives the same exact powers of ten.
    static constexpr std::array<double, 7> kScales{1, 10, 100, 1e3, 1e4, 1e5, 1e6};
    const double scale = decimals >= 0 && decimals < static_cast<int>(kScales.size())
                             ? kScales[static_cast<size_t>(decimals)]
                             : std::pow(10.0, decimals);
    return std::round(value * scale) / scale;
}

}  // namespace ostrel
