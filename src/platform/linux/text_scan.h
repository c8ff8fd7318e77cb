#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>

#include "records/text.h"

// Small pieces for parsing kernel text without allocating: lines, white-space separated
// fields, and numbers that must be whole and in range.
namespace ostrel::text_scan {

inline bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

inline std::string_view trim(std::string_view text) {
    return trimmed(text, " \t\n\r");
}

// Takes the next line off `text`, without its newline. False when nothing is left.
inline bool nextLine(std::string_view& text, std::string_view& line) {
    if (text.empty()) return false;
    const size_t end = text.find('\n');
    if (end == std::string_view::npos) {
        line = text;
        text = {};
    } else {
        line = text.substr(0, end);
        text.remove_prefix(end + 1);
    }
    return true;
}

// Takes the next field off `text`, skipping spaces and tabs. False when nothing is left.
inline bool nextField(std::string_view& text, std::string_view& field) {
    size_t start = 0;
    while (start < text.size() && isSpace(text[start]))
        ++start;
    if (start == text.size()) {
        text = {};
        return false;
    }
    size_t end = start;
    while (end < text.size() && !isSpace(text[end]))
        ++end;
    field = text.substr(start, end - start);
    text.remove_prefix(end);
    return true;
}

// The rest of the first line that starts with `key` and `separator`. Found by a search for the
// key rather than line by line: some of these files are read for every process.
inline std::optional<std::string_view> lineValue(std::string_view text, std::string_view key,
                                                 char separator) {
    for (size_t at = text.find(key); at != std::string_view::npos; at = text.find(key, at + 1)) {
        const size_t after = at + key.size();
        if ((at > 0 && text[at - 1] != '\n') || after >= text.size() || text[after] != separator) {
            continue;
        }
        const std::string_view value = text.substr(after + 1);
        return value.substr(0, value.find('\n'));
    }
    return std::nullopt;
}

// The whole field as a number of the type, or none: no "+", no "-" for an unsigned type, no
// trailing text, no overflow. `base` applies to whole numbers.
template <class Number>
std::optional<Number> parseNumber(std::string_view field, int base = 10) {
    Number value{};
    const char* end = field.data() + field.size();
    std::from_chars_result result;
    if constexpr (std::is_floating_point_v<Number>) {
        result = std::from_chars(field.data(), end, value);
    } else {
        result = std::from_chars(field.data(), end, value, base);
    }
    if (field.empty() || result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return value;
}

}  // namespace ostrel::text_scan
