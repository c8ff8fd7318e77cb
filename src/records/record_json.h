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
// memmem rather than find(), which stops at every quote of the line: several times faster on
// the dashboard's load path.
inline bool isEventLine(std::string_view line) {
    const auto contains = [line](std::string_view key) {
        return ::memmem(line.data(), line.size(), key.data(), key.size()) != nullptr;
    };
    return contains("\"event_type\"") || contains("\"eventType\"");
}

}  // namespace ostrel
