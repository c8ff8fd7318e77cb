#include "upload/hec_batch_encoder.h"

#include "records/formatters.h"
#include "records/json_writer.h"

namespace ostrel {
namespace {

constexpr std::string_view kSource = "ostrel";

double secondsSince1970(Date date) {
    // Whole seconds and the fraction apart: one division of the nanosecond count would round
    // twice and print 1763190252.3450003 where 1763190252.345 is meant.
    const auto sinceEpoch = date.time_since_epoch();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
    const auto fraction = std::chrono::duration<double>(sinceEpoch - seconds);
    return static_cast<double>(seconds.count()) + fraction.count();
}

}  // namespace

double parseTimestamp(std::string_view timestamp, const Clock& clock) {
    if (const auto date = Formatters::parseIso8601WithFractionalSeconds(timestamp)) {
        return secondsSince1970(*date);
    }
    return secondsSince1970(clock.now());
}

HECBatchEncoder::HECBatchEncoder(std::string_view index, std::string_view sourcetype) {
    JsonWriter writer(fixedFields_);
    writer.key("source");
    writer.string(kSource);
    writer.key("sourcetype");
    writer.string(sourcetype);
    writer.key("index");
    writer.string(index);
    writer.key("event");
    fixedFields_.insert(fixedFields_.begin(), ',');
}

tl::expected<std::string, JsonError> HECBatchEncoder::encode(std::span<const HECBatchEntry> entries,
                                                             const Clock& clock) const {
    std::string body;
    for (const auto& entry : entries) {
        if (auto appended = appendEvent(body, entry, clock); !appended) {
            return tl::unexpected(appended.error());
        }
        // Room for the rest at the size of the first event, with some slack: samples of one
        // batch differ little, and the body then grows without a copy.
        if (&entry == &entries.front()) body.reserve(body.size() * entries.size() * 9 / 8);
    }
    return body;
}

tl::expected<void, JsonError> HECBatchEncoder::appendEvent(std::string& out,
                                                           const HECBatchEntry& entry,
                                                           const Clock& clock) const {
    JsonWriter writer(out);
    writer.beginObject();
    writer.key("time");
    // A parsed date is always finite.
    (void)writer.number(parseTimestamp(entry.timestamp, clock));
    writer.key("host");
    writer.string(entry.hostname);
    out += fixedFields_;
    if (auto nested = entry.record.appendJson(out); !nested) return nested;
    out += '}';
    return {};
}

}  // namespace ostrel
