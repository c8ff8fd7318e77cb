#include "platform/preference_json.h"

#include <simdjson.h>

#include "records/json_writer.h"

namespace ostrel {
namespace {

bool write(JsonWriter& writer, std::string& out, const PreferenceValue& value);
bool readArray(simdjson::dom::element element, PreferenceValue& out);
bool readObject(simdjson::dom::element element, PreferenceValue& out);

struct ValueWriter {
    JsonWriter& writer;
    std::string& out;

    bool operator()(bool flag) { return writer.boolean(flag), true; }
    bool operator()(int64_t integer) { return writer.integer(integer), true; }
    bool operator()(double number) {
        const size_t start = out.size();
        if (!writer.number(number)) return false;
        // A whole double written as "12" would read back as an integer: keep it a double.
        if (out.find_first_of(".eE", start) == std::string::npos) out += ".0";
        return true;
    }
    bool operator()(const std::string& text) { return writer.string(text), true; }
    bool operator()(const PreferenceArray& array) {
        writer.beginArray();
        for (const PreferenceValue& element : array) {
            if (!write(writer, out, element)) return false;
        }
        writer.endArray();
        return true;
    }
    bool operator()(const PreferenceDictionary& dictionary) {
        writer.beginObject();
        for (const auto& [key, element] : dictionary) {
            writer.key(key);
            if (!write(writer, out, element)) return false;
        }
        writer.endObject();
        return true;
    }
};

bool write(JsonWriter& writer, std::string& out, const PreferenceValue& value) {
    return std::visit(ValueWriter{writer, out}, value.value);
}

template <class T, class Stored = T>
bool readScalar(simdjson::dom::element element, PreferenceValue& out) {
    T value{};
    if (element.get(value) != simdjson::SUCCESS) return false;
    out.value = Stored(value);
    return true;
}

bool read(simdjson::dom::element element, PreferenceValue& out) {
    using Type = simdjson::dom::element_type;
    switch (element.type()) {
        case Type::BOOL:
            return readScalar<bool>(element, out);
        case Type::INT64:
            return readScalar<int64_t>(element, out);
        case Type::UINT64:
            // Beyond int64: the nearest double is the most faithful preference value.
            return readScalar<uint64_t, double>(element, out);
        case Type::DOUBLE:
            return readScalar<double>(element, out);
        case Type::STRING:
            return readScalar<std::string_view, std::string>(element, out);
        case Type::ARRAY:
            return readArray(element, out);
        case Type::OBJECT:
            return readObject(element, out);
        case Type::NULL_VALUE:
            return false;
    }
    return false;
}

bool readArray(simdjson::dom::element element, PreferenceValue& out) {
    simdjson::dom::array elements;
    if (element.get(elements) != simdjson::SUCCESS) return false;
    PreferenceArray array;
    for (simdjson::dom::element child : elements) {
        if (!read(child, array.emplace_back())) return false;
    }
    out.value = std::move(array);
    return true;
}

bool readObject(simdjson::dom::element element, PreferenceValue& out) {
    simdjson::dom::object fields;
    if (element.get(fields) != simdjson::SUCCESS) return false;
    PreferenceDictionary dictionary;
    for (simdjson::dom::key_value_pair field : fields) {
        if (!read(field.value, dictionary[std::string(field.key)])) return false;
    }
    out.value = std::move(dictionary);
    return true;
}

}  // namespace

std::optional<std::string> encodePreferenceJson(const PreferenceValue& value) {
    std::string text;
    JsonWriter writer(text);
    if (!write(writer, text, value)) return std::nullopt;
    return text;
}

std::optional<PreferenceValue> decodePreferenceJson(std::string_view text) {
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    if (parser.parse(text.data(), text.size()).get(root) != simdjson::SUCCESS) return std::nullopt;
    PreferenceValue value;
    if (!read(root, value)) return std::nullopt;
    return value;
}

}  // namespace ostrel
