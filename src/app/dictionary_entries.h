#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/preferences_store.h"

namespace ostrel {

// Typed reads of one entry of a dictionary that crossed between processes: an entry of another
// type reads as absent, so that every caller chooses its own default.

// Integers, and doubles that hold a whole number (a JSON "5.0" is still five).
std::optional<int64_t> integerEntry(const PreferenceDictionary& dictionary, std::string_view key);
// Any number.
std::optional<double> numberEntry(const PreferenceDictionary& dictionary, std::string_view key);
std::optional<bool> boolEntry(const PreferenceDictionary& dictionary, std::string_view key);
std::optional<std::string> stringEntry(const PreferenceDictionary& dictionary,
                                       std::string_view key);
// A list whose every element is a string.
std::optional<std::vector<std::string>> stringListEntry(const PreferenceDictionary& dictionary,
                                                        std::string_view key);

}  // namespace ostrel
