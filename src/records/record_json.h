#pragma once

#include <cstring>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "records/alert_event.h"
#include "records/monitor_config.h"
#include "records/system_metrics.h"
#include "records/watched_process_event.h"

namespace ostrel {

// Why a record could not be encoded or a line decoded. `key` names the field at fault where
// there is one ("load_percent" for a sample whose cpu section lacks it).
struct JsonError {
    enum class Kind { invalidJson, wrongType, missingKey, nonFiniteNumber };
    Kind kind;
    std::string key;

    std::string message() const;
};

// Appends the record's JSON object (one line's content, no newline) to `out`. On failure
// `out` is left exactly as it was. Defined for every record of the metric files, their
// sections and MonitorConfig.
template <class Record>
tl::expected<void, JsonError> appendJson(std::string& out, const Record& record);

template <class Record>
tl::expected<std::string, JsonError> encodeJson(const Record& record) {
    std::string out;
    if (auto written = appendJson(out, record); !written) return tl::unexpected(written.error());
    return out;
}

// Decodes one JSON object. A missing required key fails the whole object, null reads as
// absent, unknown keys are ignored, and a JSON integer is accepted for a double.
template <class Record>
tl::expected<Record, JsonError> decodeJson(std::string_view json);

// A metric-file line is a sample unless it contains either event key, quotes included.
// This runs on every line of a day's load: rather than search for each key in turn, it
// looks at each "v", which few sample lines hold, and compares around it.
inline bool isEventLine(std::string_view line) {
    constexpr std::string_view underscored = "\"event_type\"", camel = "\"eventType\"";
    for (size_t v = 2; v < line.size(); ++v) {
        const void* found = std::memchr(line.data() + v, 'v', line.size() - v);
        if (!found) return false;
        v = static_cast<size_t>(static_cast<const char*>(found) - line.data());
        const std::string_view from = line.substr(v - 2);
        if (from.starts_with(underscored) || from.starts_with(camel)) return true;
    }
    return false;
}

}  // namespace ostrel
