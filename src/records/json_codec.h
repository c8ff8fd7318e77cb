#pragma once

// The machinery behind the field tables of record_json.cpp: a table lists each field once,
// as its JSON key and member, and both directions are derived from it. Private to records/.

#include <simdjson.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "records/formatters.h"
#include "records/json_writer.h"
#include "records/log_level.h"
#include "records/record_json.h"

namespace ostrel::json {

namespace od = simdjson::ondemand;

// A decode failure before it becomes a JsonError: the code and the key it happened under.
struct Failure {
    JsonError::Kind kind;
    std::string_view key;
};
using Status = std::optional<Failure>;

template <class Record>
struct FieldCodec {
    std::string_view key;
    bool required;
    bool (*encode)(JsonWriter&, std::string_view key, const Record&);
    // Sets `wasNull` when the value is JSON null, which counts as absent.
    Status (*decode)(od::value&, Record&, bool& wasNull);
};

// Each record type names its table through this trait (specialised in record_json.cpp).
template <class Record>
struct Table;

template <class T>
concept TableRecord = requires {
    Table<T>::fields;
};

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

template <auto Member>
struct MemberOf;
template <class R, class T, T R::*Member>
struct MemberOf<Member> {
    using Record = R;
    using Type = T;
};

// --- encoding -----------------------------------------------------------------------------

template <TableRecord Record>
bool writeObject(JsonWriter& writer, const Record& record);

inline bool writeValue(JsonWriter& w, double v) {
    return w.number(v);
}
inline bool writeValue(JsonWriter& w, int64_t v) {
    return w.integer(v), true;
}
inline bool writeValue(JsonWriter& w, uint64_t v) {
    return w.unsignedInteger(v), true;
}
inline bool writeValue(JsonWriter& w, bool v) {
    return w.boolean(v), true;
}
inline bool writeValue(JsonWriter& w, const std::string& v) {
    return w.string(v), true;
}
inline bool writeValue(JsonWriter& w, LogLevel v) {
    return w.integer(logLevelRaw(v)), true;
}
inline bool writeValue(JsonWriter& w, Date v) {
    return w.string(Formatters::iso8601(v)), true;
}

template <TableRecord Record>
bool writeValue(JsonWriter& w, const Record& v) {
    return writeObject(w, v);
}

template <class T>
bool writeValue(JsonWriter& w, const std::vector<T>& values) {
    w.beginArray();
    for (const auto& value : values) {
        if (!writeValue(w, value)) return false;
    }
    w.endArray();
    return true;
}

template <TableRecord Record>
bool writeObject(JsonWriter& writer, const Record& record) {
    writer.beginObject();
    for (const auto& field : Table<Record>::fields) {
        if (!field.encode(writer, field.key, record)) return false;
    }
    writer.endObject();
    return true;
}

// --- decoding -----------------------------------------------------------------------------

template <TableRecord Record>
Status readObject(od::object object, Record& record);

// A failure with an empty key is the current field's own; readObject names it.
inline Status typeFailure() {
    return Failure{JsonError::Kind::wrongType, ""};
}

// Each reader returns an error code; the field layer adds the key.
inline simdjson::error_code readValue(od::value& v, double& out) {
    return v.get_double().get(out);
}
inline simdjson::error_code readValue(od::value& v, int64_t& out) {
    return v.get_int64().get(out);
}
inline simdjson::error_code readValue(od::value& v, uint64_t& out) {
    return v.get_uint64().get(out);
}
inline simdjson::error_code readValue(od::value& v, bool& out) {
    return v.get_bool().get(out);
}
inline simdjson::error_code readValue(od::value& v, std::string& out) {
    std::string_view text;
    if (auto error = v.get_string().get(text)) return error;
    out.assign(text);
    return simdjson::SUCCESS;
}
inline simdjson::error_code readValue(od::value& v, LogLevel& out) {
    int64_t raw;
    if (auto error = v.get_int64().get(raw)) return error;
    const auto level = logLevelFromRaw(raw);
    if (!level) return simdjson::INCORRECT_TYPE;
    out = *level;
    return simdjson::SUCCESS;
}
inline simdjson::error_code readValue(od::value& v, Date& out) {
    std::string_view text;
    if (auto error = v.get_string().get(text)) return error;
    const auto date = Formatters::parseIso8601(text);
    if (!date) return simdjson::INCORRECT_TYPE;
    out = *date;
    return simdjson::SUCCESS;
}

// Nested records and arrays report a failure inside them under the innermost key.
template <class T>
Status readNested(od::value& v, T& out);
template <class T>
Status readNested(od::value& v, std::vector<T>& out);

template <TableRecord Record>
Status readNested(od::value& v, Record& out) {
    od::object object;
    if (v.get_object().get(object)) return typeFailure();
    return readObject(object, out);
}

template <class T>
Status readNested(od::value& v, std::vector<T>& out) {
    od::array array;
    if (v.get_array().get(array)) return typeFailure();
    out.clear();
    // Counting first costs one pass over the structural index and saves the regrowth copies
    // of a 20-entry process list.
    size_t count = 0;
    if (!array.count_elements().get(count)) out.reserve(count);
    for (auto element : array) {
        od::value item;
        if (element.get(item)) return typeFailure();
        if (auto status = readNested(item, out.emplace_back())) return status;
    }
    return std::nullopt;
}

template <class T>
Status readNested(od::value& v, T& out) {
    if (readValue(v, out)) return typeFailure();
    return std::nullopt;
}

// --- the field descriptor -----------------------------------------------------------------

template <auto Member>
constexpr auto field(std::string_view key) {
    using Record = typename MemberOf<Member>::Record;
    using Type = typename MemberOf<Member>::Type;
    constexpr bool optional = IsOptional<Type>::value;

    FieldCodec<Record> entry{key, !optional, nullptr, nullptr};
    entry.encode = [](JsonWriter& w, std::string_view name, const Record& record) {
        const auto& value = record.*Member;
        if constexpr (optional) {
            if (!value) return true;
            w.key(name);
            return writeValue(w, *value);
        } else {
            w.key(name);
            return writeValue(w, value);
        }
    };
    entry.decode = [](od::value& v, Record& record, bool& wasNull) -> Status {
        bool isNull = false;
        if (v.is_null().get(isNull)) isNull = false;
        wasNull = isNull;
        auto& slot = record.*Member;
        if constexpr (optional) {
            if (isNull) {
                slot.reset();
                return std::nullopt;
            }
            return readNested(v, slot.emplace());
        } else {
            if (isNull) return std::nullopt;
            return readNested(v, slot);
        }
    };
    return entry;
}

// Finds the table entry for a key, trying first the one after the previous match: lines written by
// this system carry keys in table order, so the guess almost always hits.
template <class Record>
int findField(std::span<const FieldCodec<Record>> fields, const od::raw_json_string& key,
              size_t expected) {
    const size_t count = fields.size();
    for (size_t step = 0; step < count; ++step) {
        const size_t index = (expected + step) % count;
        if (key.unsafe_is_equal(fields[index].key)) return static_cast<int>(index);
    }
    return -1;
}

template <TableRecord Record>
Status readObject(od::object object, Record& record) {
    const std::span<const FieldCodec<Record>> fields(Table<Record>::fields);
    uint64_t seen = 0;
    size_t expected = 0;
    for (auto member : object) {
        od::raw_json_string key;
        if (member.key().get(key)) return Failure{JsonError::Kind::invalidJson, ""};
        const int index = findField(fields, key, expected);
        if (index < 0) continue;  // unknown keys are skipped by the iterator
        od::value value;
        if (member.value().get(value)) return Failure{JsonError::Kind::invalidJson, ""};
        bool wasNull = false;
        if (auto status = fields[index].decode(value, record, wasNull)) {
            if (status->key.empty()) status->key = fields[index].key;
            return status;
        }
        if (!wasNull) seen |= uint64_t{1} << index;
        expected = static_cast<size_t>(index) + 1;
    }
    for (size_t i = 0; i < fields.size(); ++i) {
        if (fields[i].required && !(seen & (uint64_t{1} << i))) {
            return Failure{JsonError::Kind::missingKey, fields[i].key};
        }
    }
    return std::nullopt;
}

}  // namespace ostrel::json
