#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "records/text.h"

// Small text helpers shared by the process list, its tool parsers and the name grouping.
namespace ostrel {

// Without leading and trailing spaces and tabs (line ends stay).
std::string_view trimBlanks(std::string_view text);

// The pieces between separators, empty pieces dropped. After `maxSplits` pieces, the last piece
// is the rest of the text from its first non-separator, separators inside it kept.
std::vector<std::string_view> splitDroppingEmpty(std::string_view text, char separator,
                                                 size_t maxSplits = SIZE_MAX);

// Whole-text decimal parses; anything left over, a sign on an unsigned or an overflow fails.
std::optional<int32_t> parseInt32(std::string_view text);
std::optional<uint64_t> parseUInt64(std::string_view text);
std::optional<double> parseDouble(std::string_view text);

bool isValidUtf8(std::string_view text);

// A name fit for a record: line breaks (U+000A to U+000D, U+0085, U+2028, U+2029) and NULs
// dropped, and each byte of an invalid UTF-8 sequence replaced by U+FFFD, since a process may
// name itself anything.
std::string cleanedProcessName(std::string_view name);
// The same in place, without copying a name that is plain printable ASCII.
void cleanProcessName(std::string& name);

}  // namespace ostrel
