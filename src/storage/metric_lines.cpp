#include "storage/metric_lines.h"

#include <cstring>
#include <filesystem>

#include "records/record_json.h"

namespace ostrel::metric_lines {
namespace {

constexpr std::string_view kFilePrefix = "metrics-";
constexpr std::string_view kTimestampKey = "\"timestamp\":\"";

// Calls `body` with each non-empty line; the last needs no line feed.
template <class Body>
void forEachLine(std::string_view bytes, Body&& body) {
    const char* cursor = bytes.data();
    const char* const end = cursor + bytes.size();
    while (cursor < end) {
        const auto* feed = static_cast<const char*>(std::memchr(cursor, '\n', end - cursor));
        const char* lineEnd = feed ? feed : end;
        if (lineEnd > cursor) body(std::string_view(cursor, lineEnd - cursor));
        cursor = lineEnd + 1;
    }
}

// Event lines are split at every ASCII line break, so files with CRLF endings read too. The
// Unicode separators are left alone: the encoder writes them raw inside strings.
template <class Event>
std::vector<Event> decodeEvents(std::string_view text) {
    std::vector<Event> events;
    size_t start = 0;
    while (start < text.size()) {
        size_t stop = text.find_first_of("\n\r\v\f", start);
        if (stop == std::string_view::npos) stop = text.size();
        if (stop > start) {
            if (auto event = decodeJson<Event>(text.substr(start, stop - start))) {
                events.push_back(std::move(*event));
            }
        }
        start = stop + 1;
    }
    return events;
}

std::string_view stemOf(std::string_view fileName) {
    const size_t dot = fileName.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? fileName : fileName.substr(0, dot);
}

}  // namespace

void appendSamples(std::string_view bytes, std::vector<SystemMetrics>& out) {
    forEachLine(bytes, [&](std::string_view line) {
        if (isEventLine(line)) return;
        if (auto sample = decodeJson<SystemMetrics>(line)) out.push_back(std::move(*sample));
    });
}

std::vector<SystemMetrics> decodeSamples(std::string_view bytes) {
    std::vector<SystemMetrics> samples;
    appendSamples(bytes, samples);
    return samples;
}

std::vector<AlertEvent> decodeAlertEvents(std::string_view text) {
    return decodeEvents<AlertEvent>(text);
}

std::vector<WatchedProcessEvent> decodeWatchedProcessEvents(std::string_view text) {
    return decodeEvents<WatchedProcessEvent>(text);
}

std::optional<std::string> timestampIn(std::string_view text) {
    const size_t key = text.find(kTimestampKey);
    if (key == std::string_view::npos) return std::nullopt;
    const size_t start = key + kTimestampKey.size();
    const size_t quote = text.find('"', start);
    if (quote == std::string_view::npos) return std::nullopt;
    return std::string(text.substr(start, quote - start));
}

std::string_view firstLine(std::string_view head) {
    return head.substr(0, head.find('\n'));
}

std::string dayOfFile(std::string_view fileName) {
    std::string_view stem = stemOf(fileName);
    if (stem.starts_with(kFilePrefix)) stem.remove_prefix(kFilePrefix.size());
    return std::string(stem.substr(0, 10));
}

bool fileBelongsToDay(std::string_view fileName, std::string_view day) {
    std::string_view stem = stemOf(fileName);
    if (!stem.starts_with(kFilePrefix)) return false;
    stem.remove_prefix(kFilePrefix.size());
    if (!stem.starts_with(day)) return false;
    return stem.size() == day.size() || stem[day.size()] == '-';
}

}  // namespace ostrel::metric_lines
