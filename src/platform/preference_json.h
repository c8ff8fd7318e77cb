#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/preferences_store.h"

namespace ostrel {

// Preference values as JSON text: integers stay integers, doubles keep a fraction or exponent
// where they need one to read back as doubles. Used wherever a dictionary crosses between
// processes.

// Absent when the value holds a NaN or an infinity, which JSON cannot carry.
std::optional<std::string> encodePreferenceJson(const PreferenceValue& value);
// Absent when the text is not one complete JSON value, or holds null (no preference type).
std::optional<PreferenceValue> decodePreferenceJson(std::string_view text);

}  // namespace ostrel
