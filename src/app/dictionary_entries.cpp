#include "app/dictionary_entries.h"

#include <cmath>

namespace ostrel {
namespace {

const PreferenceValue* find(const PreferenceDictionary& dictionary, std::string_view key) {
    const auto it = dictionary.find(key);
    return it == dictionary.end() ? nullptr : &it->second;
}

}  // namespace

std::optional<int64_t> integerEntry(const PreferenceDictionary& dictionary, std::string_view key) {
    const PreferenceValue* value = find(dictionary, key);
    if (!value) return std::nullopt;
    if (const auto* integer = value->get<int64_t>()) return *integer;
    if (const auto* number = value->get<double>()) {
        if (std::trunc(*number) == *number && std::abs(*number) < 9.2e18) {
            return static_cast<int64_t>(*number);
        }
    }
    return std::nullopt;
}

std::optional<double> numberEntry(const PreferenceDictionary& dictionary, std::string_view key) {
    const PreferenceValue* value = find(dictionary, key);
    if (!value) return std::nullopt;
    if (const auto* number = value->get<double>()) return *number;
    if (const auto* integer = value->get<int64_t>()) return static_cast<double>(*integer);
    return std::nullopt;
}

std::optional<bool> boolEntry(const PreferenceDictionary& dictionary, std::string_view key) {
    const PreferenceValue* value = find(dictionary, key);
    if (const auto* flag = value ? value->get<bool>() : nullptr) return *flag;
    return std::nullopt;
}

std::optional<std::string> stringEntry(const PreferenceDictionary& dictionary,
                                       std::string_view key) {
    const PreferenceValue* value = find(dictionary, key);
    if (const auto* text = value ? value->get<std::string>() : nullptr) return *text;
    return std::nullopt;
}

std::optional<std::vector<std::string>> stringListEntry(const PreferenceDictionary& dictionary,
                                                        std::string_view key) {
    const PreferenceValue* value = find(dictionary, key);
    return value ? stringsOf(*value) : std::nullopt;
}

}  // namespace ostrel
