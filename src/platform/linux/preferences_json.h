#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "platform/preferences_store.h"
#include "records/record_json.h"

namespace ostrel {

// The text of a preferences file: one JSON object of key and value. Integers and doubles keep
// their kinds (an integer too large for int64 reads as a double); null reads as absent, in an
// array or a dictionary as well. Anything but an object fails as a whole.
tl::expected<PreferenceDictionary, JsonError> parsePreferences(std::string_view text);

// One line of compact JSON and a newline; a whole double keeps its fraction so that it reads
// back as a double. A non-finite double cannot be written and fails the whole file.
tl::expected<std::string, JsonError> encodePreferences(const PreferenceDictionary& preferences);

}  // namespace ostrel
