#pragma once

#include <string>

namespace ostrel {

// The system's name and version for the launch line, such as "Linux 6.1.0-18-amd64".
std::string operatingSystemVersionString();

}  // namespace ostrel
