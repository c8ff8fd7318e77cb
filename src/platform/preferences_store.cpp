#include "platform/preferences_store.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "records/json_writer.h"

namespace ostrel {
namespace {

constexpr std::string_view kBlanks = " \t\n\r\f\v";

// A string's leading integer, as a string's integerValue reads it: blanks, an optional sign,
// digits; anything after is ignored and no digits read as 0. Out of range saturates.
int64_t leadingInteger(std::string_view text) {
    const auto start = text.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) return 0;
    text.remove_prefix(start);
    // One sign only: from_chars takes a minus but no plus, so "+-5" must not reach it.
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        return text.front() == '-' ? std::numeric_limits<int64_t>::min()
                                   : std::numeric_limits<int64_t>::max();
    }
    return error == std::errc() ? value : 0;
}

// A string's boolValue: after blanks, a sign and leading zeros, true on Y, y, T, t or 1-9.
bool leadingTruth(std::string_view text) {
    size_t i = text.find_first_not_of(kBlanks);
    if (i == std::string_view::npos) return false;
    if (text[i] == '+' || text[i] == '-') ++i;
    while (i < text.size() && text[i] == '0')
        ++i;
    if (i >= text.size()) return false;
    const char c = text[i];
    return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

// Toward zero, saturating: the cast alone is undefined outside the range of int64_t, which is
// [-2^63, 2^63).
int64_t truncated(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 0x1p63) return std::numeric_limits<int64_t>::max();
    if (value < -0x1p63) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(value);
}

}  // namespace

PreferenceValue::PreferenceValue(const std::vector<std::string>& strings)
    : value(PreferenceArray(strings.begin(), strings.end())) {}

int64_t PreferencesStore::integer(std::string_view key) const {
    const auto stored = object(key);
    if (!stored) return 0;
    if (const auto* v = stored->get<int64_t>()) return *v;
    if (const auto* v = stored->get<double>()) return truncated(*v);
    if (const auto* v = stored->get<bool>()) return *v ? 1 : 0;
    if (const auto* v = stored->get<std::string>()) return leadingInteger(*v);
    return 0;
}

bool PreferencesStore::boolean(std::string_view key) const {
    const auto stored = object(key);
    if (!stored) return false;
    if (const auto* v = stored->get<bool>()) return *v;
    if (const auto* v = stored->get<int64_t>()) return *v != 0;
    if (const auto* v = stored->get<double>()) return *v != 0;
    if (const auto* v = stored->get<std::string>()) return leadingTruth(*v);
    return false;
}

std::optional<std::string> PreferencesStore::string(std::string_view key) const {
    const auto stored = object(key);
    if (!stored) return std::nullopt;
    if (const auto* v = stored->get<std::string>()) return *v;
    if (const auto* v = stored->get<int64_t>()) return std::to_string(*v);
    if (const auto* v = stored->get<bool>()) return *v ? "1" : "0";
    if (const auto* v = stored->get<double>()) {
        std::string text;
        JsonWriter writer(text);
        if (!writer.number(*v)) return std::nullopt;
        return text;
    }
    return std::nullopt;
}

std::optional<std::vector<std::string>> stringsOf(const PreferenceValue& value) {
    const auto* array = value.get<PreferenceArray>();
    if (!array) return std::nullopt;
    std::vector<std::string> strings;
    strings.reserve(array->size());
    for (const auto& element : *array) {
        const auto* text = element.get<std::string>();
        if (!text) return std::nullopt;
        strings.push_back(*text);
    }
    return strings;
}

std::optional<std::vector<std::string>> PreferencesStore::stringArray(std::string_view key) const {
    const auto stored = object(key);
    return stored ? stringsOf(*stored) : std::nullopt;
}

std::optional<PreferenceDictionary> PreferencesStore::dictionary(std::string_view key) const {
    const auto stored = object(key);
    const auto* dictionary = stored ? stored->get<PreferenceDictionary>() : nullptr;
    if (!dictionary) return std::nullopt;
    return *dictionary;
}

}  // namespace ostrel
