#include "support/realistic_day.h"

#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <fstream>

#include "records/formatters.h"
#include "records/record_json.h"
#include "support/sample_records.h"

namespace ostrel::testing {

Date localMidnight(Date now, int daysAgo) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm tm{};
    ::localtime_r(&seconds, &tm);
    tm.tm_hour = tm.tm_min = tm.tm_sec = 0;
    tm.tm_mday -= daysAgo;
    tm.tm_isdst = -1;  // mktime finds it, also across a change of daylight saving time
    return std::chrono::system_clock::from_time_t(std::mktime(&tm));
}

uint64_t writeRealisticDay(const RealisticDay& day, const std::filesystem::path& storeFolder,
                           std::ostream* allLines) {
    std::filesystem::create_directories(storeFolder / "metrics");
    const auto step = std::chrono::microseconds(86'400'000'000LL / day.samples);
    const int samplesPerHour = std::max(1, day.samples / 24);
    std::ofstream hour;
    std::string hourName, lines;
    uint64_t bytes = 0;
    for (int i = 0; i < day.samples; ++i) {
        const Date when = day.midnight + std::chrono::duration_cast<Duration>(step * i);
        const std::string name = fmt::format("metrics-{}.jsonl", Formatters::hourlyRotation(when));
        if (name != hourName) {
            hourName = name;
            hour = std::ofstream(storeFolder / "metrics" / name, std::ios::binary | std::ios::app);
        }
        SystemMetrics sample = realisticSample(when, i);
        if (!day.hostname.empty()) sample.hostname = day.hostname;
        lines.clear();
        (void)appendJson(lines, sample);
        lines += '\n';
        if (day.withWatchedEvents) {
            (void)appendJson(lines, realisticWatchedEvent(when, i));
            lines += '\n';
        }
        if (i % samplesPerHour == samplesPerHour / 2) {
            (void)appendJson(lines, realisticAlertEvent(when));
            lines += '\n';
        }
        hour << lines;
        if (allLines) *allLines << lines;
        bytes += lines.size();
    }
    return bytes;
}

}  // namespace ostrel::testing
