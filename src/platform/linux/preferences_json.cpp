#include "platform/linux/preferences_json.h"

#include <simdjson.h>

#include <optional>

#include "records/json_writer.h"

namespace ostrel {
namespace {

namespace dom = simdjson::dom;

std::optional<PreferenceValue> convert(dom::element element);

PreferenceDictionary convertObject(dom::object object) {
    PreferenceDictionary dictionary;
    for (const auto field : object) {
        // A repeated key keeps its last value, as most JSON readers do.
        if (auto value = convert(field.value)) {
            dictionary.insert_or_assign(std::string(field.key), std::move(*value));
        } else {
            dictionary.erase(std::string(field.key));
        }
    }
    return dictionary;
}

std::optional<PreferenceValue> convert(dom::element element) {
    switch (element.type()) {
        case dom::element_type::OBJECT:
            return convertObject(dom::object(element));
        case dom::element_type::ARRAY: {
            PreferenceArray array;
            for (const auto item : dom::array(element)) {
                if (auto value = convert(item)) array.push_back(std::move(*value));
            }
            return array;
        }
        case dom::element_type::INT64:
            return int64_t(element);
        case dom::element_type::UINT64:
            return static_cast<double>(uint64_t(element));
        case dom::element_type::DOUBLE:
            return double(element);
        case dom::element_type::STRING:
            return std::string(std::string_view(element));
        case dom::element_type::BOOL:
            return bool(element);
        case dom::element_type::NULL_VALUE:
            return std::nullopt;
    }
    return std::nullopt;
}

bool write(JsonWriter& writer, const PreferenceValue& value);

bool writeDictionary(JsonWriter& writer, const PreferenceDictionary& dictionary) {
    writer.beginObject();
    for (const auto& [key, item] : dictionary) {
        writer.key(key);
        if (!write(writer, item)) return false;
    }
    writer.endObject();
    return true;
}

bool write(JsonWriter& writer, const PreferenceValue& value) {
    return std::visit(
        [&](const auto& v) -> bool {
            using V = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<V, bool>) {
                writer.boolean(v);
            } else if constexpr (std::is_same_v<V, int64_t>) {
                writer.integer(v);
            } else if constexpr (std::is_same_v<V, double>) {
                return writer.decimal(v);
            } else if constexpr (std::is_same_v<V, std::string>) {
                writer.string(v);
            } else if constexpr (std::is_same_v<V, PreferenceArray>) {
                writer.beginArray();
                for (const auto& item : v) {
                    if (!write(writer, item)) return false;
                }
                writer.endArray();
            } else {
                return writeDictionary(writer, v);
            }
            return true;
        },
        value.value);
}

}  // namespace

tl::expected<PreferenceDictionary, JsonError> parsePreferences(std::string_view text) {
    dom::parser parser;
    const simdjson::padded_string padded(text);
    dom::element root;
    if (parser.parse(padded).get(root))
        return tl::unexpected(JsonError{JsonError::Kind::invalidJson});
    dom::object object;
    if (root.get_object().get(object)) return tl::unexpected(JsonError{JsonError::Kind::wrongType});
    return convertObject(object);
}

tl::expected<std::string, JsonError> encodePreferences(const PreferenceDictionary& preferences) {
    std::string text;
    JsonWriter writer(text);
    if (!writeDictionary(writer, preferences)) {
        return tl::unexpected(JsonError{JsonError::Kind::nonFiniteNumber});
    }
    text += '\n';
    return text;
}

}  // namespace ostrel
