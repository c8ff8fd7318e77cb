#pragma once

#include <string_view>

namespace ostrel {

// Why a platform reading failed. A missing source is a normal state: the caller leaves its
// fields absent, it never turns the failure into a zero.
enum class ReadError {
    notFound,     // the file, process or facility does not exist (a process that vanished)
    permission,   // the kernel refused (another user's process)
    parse,        // the text or message was not in the expected form
    unsupported,  // this machine or kernel does not offer the facility
};

inline std::string_view describe(ReadError error) {
    switch (error) {
        case ReadError::notFound:
            return "not found";
        case ReadError::permission:
            return "permission denied";
        case ReadError::parse:
            return "malformed data";
        case ReadError::unsupported:
            return "not supported";
    }
    return "unknown error";
}

}  // namespace ostrel
