#pragma once

#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace ostrel {

// Writes every byte to `fd`, going on after interruptions and partial writes. False on any
// other failure, with an unknown part written.
inline bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

}  // namespace ostrel
