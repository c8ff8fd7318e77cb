#pragma once

#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "platform/clock.h"
#include "records/record_json.h"
#include "upload/any_encodable.h"

namespace ostrel {

// One record of a batch with the two facts its envelope needs.
struct HECBatchEntry {
    AnyEncodable record;
    std::string timestamp;
    std::string hostname;
};

// Seconds since 1970 of a record's timestamp, which must carry a fraction of a second; any
// other text takes the present moment, so that the event still goes out.
double parseTimestamp(std::string_view timestamp, const Clock& clock);

// Builds the body of an event post: one envelope per record,
// {"time":..,"host":..,"source":"ostrel","sourcetype":..,"index":..,"event":{record}},
// joined with nothing between them, which is the collector's batch form.
class HECBatchEncoder {
  public:
    HECBatchEncoder(std::string_view index, std::string_view sourcetype);

    // Fails, with no partial body, on the first record that cannot be encoded.
    tl::expected<std::string, JsonError> encode(std::span<const HECBatchEntry> entries,
                                                const Clock& clock) const;

  private:
    tl::expected<void, JsonError> appendEvent(std::string& out, const HECBatchEntry& entry,
                                              const Clock& clock) const;

    // Everything between the host and the record, the same for every event of this client.
    std::string fixedFields_;
};

}  // namespace ostrel
