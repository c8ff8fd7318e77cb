#pragma once

#include <string>
#include <string_view>

// Text helpers for names, commands and settings. Case changes are ASCII only, whatever the
// locale, so that the same text compares alike on every machine.
namespace ostrel {

inline char asciiLower(char c) {
    return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
}
inline char asciiUpper(char c) {
    return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c;
}
std::string asciiLowered(std::string_view text);

// Without the leading and trailing characters of `blanks`; each reader names the blanks its
// format allows.
std::string_view trimmed(std::string_view text, std::string_view blanks);

}  // namespace ostrel
