#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <variant>
#include <vector>

namespace ostrel {

// A value as the preferences store holds it: the JSON types, with integers kept apart from
// doubles.
struct PreferenceValue;
using PreferenceArray = std::vector<PreferenceValue>;
using PreferenceDictionary = std::map<std::string, PreferenceValue, std::less<>>;

struct PreferenceValue {
    std::variant<bool, int64_t, double, std::string, PreferenceArray, PreferenceDictionary> value;

    PreferenceValue() : value(false) {}
    PreferenceValue(bool v) : value(v) {}
    PreferenceValue(int v) : value(int64_t{v}) {}
    PreferenceValue(int64_t v) : value(v) {}
    PreferenceValue(double v) : value(v) {}
    PreferenceValue(std::string v) : value(std::move(v)) {}
    PreferenceValue(const char* v) : value(std::string(v)) {}
    PreferenceValue(PreferenceArray v) : value(std::move(v)) {}
    PreferenceValue(PreferenceDictionary v) : value(std::move(v)) {}
    PreferenceValue(const std::vector<std::string>& strings);

    template <class T>
    const T* get() const {
        return std::get_if<T>(&value);
    }
    bool operator==(const PreferenceValue&) const = default;
};

// The strings of an array whose every element is a string; anything else absent.
std::optional<std::vector<std::string>> stringsOf(const PreferenceValue& value);

// The outcome of a write; the text says what failed.
using PreferenceWrite = tl::expected<void, std::string>;

// The settings of the domain com.ostrel.agent in two layers: a managed (forced) layer that an
// administrator installs, read first, and the user's own layer beneath it. Writes go to the
// user's layer only. Typed reads convert as the store's rules say; what cannot be converted
// reads as 0, false or absent.
class PreferencesStore {
  public:
    virtual ~PreferencesStore() = default;

    // The forced value if the key is forced, else the user's value, else nothing.
    virtual std::optional<PreferenceValue> object(std::string_view key) const = 0;
    virtual PreferenceWrite set(std::string_view key, PreferenceValue value) = 0;
    virtual PreferenceWrite remove(std::string_view key) = 0;
    // True when the managed layer holds the key, whatever the user's layer says; true for every
    // key while the managed layer exists but cannot be read, since it may force any of them.
    virtual bool isForced(std::string_view key) const = 0;
    // Why the managed layer exists but cannot be read; nothing while it reads or is absent.
    // While it is set, no user value of a setting applies: the program runs on the defaults.
    virtual std::optional<std::string> managedLayerError() const = 0;
    // Writes pending changes and picks up other processes' writes.
    virtual void synchronize() = 0;

    bool hasObject(std::string_view key) const { return object(key).has_value(); }
    // Integer: integers as they are, doubles truncated, booleans 1/0, strings by their leading
    // integer; anything else 0.
    int64_t integer(std::string_view key) const;
    // Boolean: numbers non-zero; strings true when, after blanks, a sign and leading zeros,
    // they begin with Y, y, T, t or a digit 1 to 9 ("yes", "true", "0010"); anything else false.
    bool boolean(std::string_view key) const;
    // String: strings as they are, numbers as their text; anything else absent.
    std::optional<std::string> string(std::string_view key) const;
    // An array whose every element is a string; anything else absent.
    std::optional<std::vector<std::string>> stringArray(std::string_view key) const;
    std::optional<PreferenceDictionary> dictionary(std::string_view key) const;
};

}  // namespace ostrel
