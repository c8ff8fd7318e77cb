#include "records/log_level.h"

namespace ostrel {

std::string_view displayName(LogLevel level) {
    switch (level) {
        case LogLevel::debug:
            return "Debug";
        case LogLevel::info:
            return "Info";
        case LogLevel::warning:
            return "Warning";
        case LogLevel::error:
            return "Errors Only";
    }
    return "Warning";
}

}  // namespace ostrel
