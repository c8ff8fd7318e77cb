#include "records/text.h"

namespace ostrel {

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

}  // namespace ostrel
