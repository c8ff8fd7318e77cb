#pragma once

#include <string_view>

namespace ostrel {

// The usage screen of the command-line tool, every line with its line end.
std::string_view helpText();

}  // namespace ostrel
