#pragma once

#include <string>

namespace ostrel::ProcessNameUtils {

// Reduces a process name to the name of its application ("Google Chrome Helper (Renderer)"
// gives "Google Chrome"), so that helper processes group under their application.
std::string extractBaseName(const std::string& name);

}  // namespace ostrel::ProcessNameUtils
