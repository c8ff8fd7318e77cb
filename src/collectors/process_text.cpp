#include "collectors/process_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace ostrel {

std::string_view trimBlanks(std::string_view text) {
    return trimmed(text, " \t");
}

std::vector<std::string_view> splitDroppingEmpty(std::string_view text, char separator,
                                                 size_t maxSplits) {
    std::vector<std::string_view> pieces;
    size_t splits = 0;
    size_t position = 0;
    while (position < text.size()) {
        if (text[position] == separator) {
            ++position;
            continue;
        }
        const size_t end = text.find(separator, position);
        if (end == std::string_view::npos || splits == maxSplits) {
            pieces.push_back(text.substr(position));
            break;
        }
        pieces.push_back(text.substr(position, end - position));
        ++splits;
        position = end + 1;
    }
    return pieces;
}

namespace {

template <class T>
std::optional<T> parseWhole(std::string_view text) {
    T value{};
    if (text.empty() || text.front() == '+') return std::nullopt;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

// Length of the valid UTF-8 sequence at the start of `text`, or 0.
size_t validSequenceLength(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return 1;
    size_t length = 0;
    uint32_t minimum = 0;
    uint32_t code = 0;
    if ((lead & 0xE0) == 0xC0) {
        length = 2, minimum = 0x80, code = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, minimum = 0x800, code = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, minimum = 0x10000, code = lead & 0x07;
    } else {
        return 0;
    }
    if (text.size() < length) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
        code = (code << 6) | (byte(i) & 0x3F);
    }
    // Overlong forms, surrogates and values past Unicode are not valid UTF-8.
    if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
    return length;
}

}  // namespace

std::optional<int32_t> parseInt32(std::string_view text) {
    return parseWhole<int32_t>(text);
}

std::optional<uint64_t> parseUInt64(std::string_view text) {
    if (!text.empty() && text.front() == '-') return std::nullopt;
    return parseWhole<uint64_t>(text);
}

std::optional<double> parseDouble(std::string_view text) {
    const auto value = parseWhole<double>(text);
    if (!value || !std::isfinite(*value)) return std::nullopt;
    return value;
}

bool isValidUtf8(std::string_view text) {
    while (!text.empty()) {
        const size_t length = validSequenceLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string cleanedProcessName(std::string_view name) {
    std::string result;
    result.reserve(name.size());
    while (!name.empty()) {
        const size_t length = validSequenceLength(name);
        if (length == 0) {
            result += "\xEF\xBF\xBD";
            name.remove_prefix(1);
            continue;
        }
        const std::string_view sequence = name.substr(0, length);
        const bool lineBreak =
            (length == 1 &&
             (sequence[0] == '\0' || (sequence[0] >= '\n' && sequence[0] <= '\r'))) ||
            sequence == "\xC2\x85" || sequence == "\xE2\x80\xA8" || sequence == "\xE2\x80\xA9";
        if (!lineBreak) result += sequence;
        name.remove_prefix(length);
    }
    return result;
}

void cleanProcessName(std::string& name) {
    const bool plain = std::all_of(name.begin(), name.end(), [](char c) {
        return static_cast<unsigned char>(c) >= 0x20 && static_cast<unsigned char>(c) < 0x7F;
    });
    if (!plain) name = cleanedProcessName(name);
}

}  // namespace ostrel
