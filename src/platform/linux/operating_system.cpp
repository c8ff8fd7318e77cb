#include "platform/operating_system.h"

#include <sys/utsname.h>

namespace ostrel {

std::string operatingSystemVersionString() {
    utsname name{};
    if (uname(&name) != 0) return "Linux";
    return std::string(name.sysname) + " " + name.release;
}

}  // namespace ostrel
