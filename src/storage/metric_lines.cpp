#include "storage/metric_lines.h"

#include <cstring>

#include "records/constants.h"
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

// Lines without an event key are passed over unparsed: both kinds of event require theirs,
// so they could not decode, and a day holds tens of thousands of sample lines. A line may
// end in CR LF.
template <class Event>
std::vector<Event> decodeEvents(std::string_view text) {
    std::vector<Event> events;
    forEachLine(text, [&](std::string_view line) {
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (!isEventLine(line)) return;
        if (auto event = decodeJson<Event>(line)) events.push_back(std::move(*event));
    });
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

void appendRecords(std::string_view bytes, MetricRecords& out) {
    constexpr std::string_view watchedKey = "\"event_type\"";
    forEachLine(bytes, [&](std::string_view line) {
        if (!isEventLine(line)) {
            if (auto sample = decodeJson<SystemMetrics>(line))
                out.samples.push_back(std::move(*sample));
            return;
        }
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (line.find(watchedKey) != std::string_view::npos) {
            if (auto event = decodeJson<WatchedProcessEvent>(line)) {
                out.watchedEvents.push_back(std::move(*event));
                return;
            }
        }
        if (auto event = decodeJson<AlertEvent>(line)) out.alertEvents.push_back(std::move(*event));
    });
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

std::string jsonlName(std::string_view stem) {
    return std::string(stem) + "." + std::string(Constants::Storage::fileExtension);
}

bool isJsonl(const std::filesystem::path& file) {
    static const std::filesystem::path extension = jsonlName("");  // ".jsonl"
    return file.extension() == extension;
}

std::string metricFileName(std::string_view stamp) {
    return jsonlName(std::string(kFilePrefix) + std::string(stamp));
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
