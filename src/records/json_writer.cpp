#include "records/json_writer.h"

#include <array>
#include <charconv>
#include <cmath>

namespace ostrel {
namespace {

// Bytes that cannot stand in a JSON string as they are: control characters, quote, backslash,
// slash (escaped by convention), and every non-ASCII byte, which needs a UTF-8 check.
constexpr std::array<bool, 256> kNeedsAttention = [] {
    std::array<bool, 256> table{};
    for (int c = 0; c < 0x20; ++c)
        table[c] = true;
    table['"'] = table['\\'] = table['/'] = true;
    for (int c = 0x80; c < 0x100; ++c)
        table[c] = true;
    return table;
}();

// Length of the valid UTF-8 sequence at `text`, or 0 if it is not one (RFC 3629 ranges).
size_t utf8SequenceLength(const unsigned char* text, size_t available) {
    const unsigned char lead = text[0];
    size_t length;
    unsigned char low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return 0;
    }
    if (available < length) return 0;
    if (text[1] < low || text[1] > high) return 0;
    for (size_t i = 2; i < length; ++i) {
        if (text[i] < 0x80 || text[i] > 0xBF) return 0;
    }
    return length;
}

void appendEscaped(std::string& out, std::string_view text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    const size_t size = text.size();
    size_t runStart = 0;
    size_t i = 0;
    while (i < size) {
        const unsigned char c = bytes[i];
        if (!kNeedsAttention[c]) {
            ++i;
            continue;
        }
        if (c >= 0x80) {
            if (const size_t length = utf8SequenceLength(bytes + i, size - i)) {
                i += length;
                continue;
            }
        }
        out.append(text.data() + runStart, i - runStart);
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '/':
                out += "\\/";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (c < 0x20) {
                    static constexpr char kHex[] = "0123456789abcdef";
                    out += "\\u00";
                    out += kHex[c >> 4];
                    out += kHex[c & 0xF];
                } else {
                    out += "\xEF\xBF\xBD";  // U+FFFD for a byte that starts no valid sequence
                }
        }
        ++i;
        runStart = i;
    }
    out.append(text.data() + runStart, size - runStart);
}

template <class Number>
void appendNumber(std::string& out, Number value) {
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

}  // namespace

void JsonWriter::separate() {
    if (!first_ && !afterKey_) out_ += ',';
    first_ = false;
    afterKey_ = false;
}

void JsonWriter::beginObject() {
    separate();
    out_ += '{';
    first_ = true;
}

void JsonWriter::endObject() {
    out_ += '}';
    first_ = false;
}

void JsonWriter::beginArray() {
    separate();
    out_ += '[';
    first_ = true;
}

void JsonWriter::endArray() {
    out_ += ']';
    first_ = false;
}

void JsonWriter::key(std::string_view name) {
    separate();
    out_ += '"';
    appendEscaped(out_, name);
    out_ += "\":";
    afterKey_ = true;
}

void JsonWriter::string(std::string_view text) {
    separate();
    out_ += '"';
    appendEscaped(out_, text);
    out_ += '"';
}

void JsonWriter::integer(int64_t number) {
    separate();
    appendNumber(out_, number);
}

void JsonWriter::unsignedInteger(uint64_t number) {
    separate();
    appendNumber(out_, number);
}

void JsonWriter::boolean(bool value) {
    separate();
    out_ += value ? "true" : "false";
}

bool JsonWriter::number(double value) {
    if (!std::isfinite(value)) return false;
    separate();
    appendNumber(out_, value);
    return true;
}

bool JsonWriter::decimal(double value) {
    const size_t start = out_.size();
    if (!number(value)) return false;
    if (out_.find_first_of(".eE", start) == std::string::npos) out_ += ".0";
    return true;
}

}  // namespace ostrel
