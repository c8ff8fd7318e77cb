#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "records/alert_event.h"
#include "records/system_metrics.h"
#include "records/watched_process_event.h"

// Pure work on the bytes and names of metric files, apart from the reading itself.
namespace ostrel::metric_lines {

// Appends the samples among the lines, in order. Empty lines, event lines and lines that do
// not decode (a torn last line, garbage) are passed over. The last line needs no line feed.
void appendSamples(std::string_view bytes, std::vector<SystemMetrics>& out);

// Every record among the lines, each kind in line order.
struct MetricRecords {
    std::vector<SystemMetrics> samples;
    std::vector<WatchedProcessEvent> watchedEvents;
    std::vector<AlertEvent> alertEvents;
};
// Sorts the lines out by kind: a line with "event_type" is a watched-process event, one with
// only "eventType" an alert, any other a sample; what does not decode is passed over.
void appendRecords(std::string_view bytes, MetricRecords& out);

// The events of one kind among the lines, in order; every other line fails to decode as that
// kind and is passed over.
std::vector<AlertEvent> decodeAlertEvents(std::string_view text);
std::vector<WatchedProcessEvent> decodeWatchedProcessEvents(std::string_view text);

// The value of the first `"timestamp":"` in the text, up to the next quote.
std::optional<std::string> timestampIn(std::string_view text);
// The first line of a file's head: what stands before its first line feed.
std::string_view firstLine(std::string_view head);

// "<stem>.jsonl": the name of a metric file or of a queue file.
std::string jsonlName(std::string_view stem);
bool isJsonl(const std::filesystem::path& file);
// "2026-11-15" -> "metrics-2026-11-15.jsonl"
std::string metricFileName(std::string_view stamp);

// "metrics-2026-11-15-07.jsonl" -> "2026-11-15"; a name without the prefix gives the first
// ten characters of its stem.
std::string dayOfFile(std::string_view fileName);
// True for "metrics-<day>.jsonl" and "metrics-<day>-<anything>.jsonl".
bool fileBelongsToDay(std::string_view fileName, std::string_view day);

}  // namespace ostrel::metric_lines
