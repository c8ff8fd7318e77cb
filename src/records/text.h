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

// Whether `text` holds a control character: C0 (line ends included), DEL, or a C1 control in
// UTF-8, which some terminals obey as well.
bool hasControlCharacters(std::string_view text);
// `text` with each control character written out as an escape ("\n", "\t", "\x1b",
// "\u009b"), so that text from outside can neither start a line of its own nor steer a
// terminal where it is shown. Other bytes, UTF-8 included, stay as they are.
std::string escapedControlCharacters(std::string_view text);

}  // namespace ostrel
