#include "records/text.h"

#include <fmt/format.h>

namespace ostrel {
namespace {

// The length of the control character at `at`: 1 for C0 and DEL, 2 for a C1 control in UTF-8
// (U+0080 to U+009F), 0 for anything else.
size_t controlLength(std::string_view text, size_t at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte < 0x20 || byte == 0x7f) return 1;
    if (byte == 0xc2 && at + 1 < text.size()) {
        const auto next = static_cast<unsigned char>(text[at + 1]);
        if (next >= 0x80 && next <= 0x9f) return 2;
    }
    return 0;
}

}  // namespace

std::string asciiLowered(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = asciiLower(c);
    return result;
}

std::string_view trimmed(std::string_view text, std::string_view blanks) {
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool hasControlCharacters(std::string_view text) {
    for (size_t at = 0; at < text.size(); ++at) {
        if (controlLength(text, at) > 0) return true;
    }
    return false;
}

std::string escapedControlCharacters(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        const size_t length = controlLength(text, at);
        const char c = text[at];
        if (length == 0) {
            result += c;
        } else if (c == '\n') {
            result += "\\n";
        } else if (c == '\r') {
            result += "\\r";
        } else if (c == '\t') {
            result += "\\t";
        } else if (length == 1) {
            result += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
        } else {
            result += fmt::format("\\u00{:02x}", static_cast<unsigned char>(text[++at]));
        }
    }
    return result;
}

}  // namespace ostrel
