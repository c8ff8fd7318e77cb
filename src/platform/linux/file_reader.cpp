#include "platform/linux/file_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "platform/linux/text_scan.h"

namespace ostrel::linux_files {

ReadError readErrorFromErrno(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
        case ENODEV:
        case ENXIO:
        case ENODATA:
            return ReadError::notFound;
        case EACCES:
        case EPERM:
            return ReadError::permission;
        default:
            return ReadError::unsupported;
    }
}

tl::expected<std::string_view, ReadError> readInto(const char* path, std::span<char> buffer) {
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return tl::unexpected(readErrorFromErrno(errno));
    size_t filled = 0;
    // Generated files may arrive in several pieces; read until the end or a full buffer.
    while (filled < buffer.size()) {
        const ssize_t got = ::read(fd, buffer.data() + filled, buffer.size() - filled);
        if (got < 0) {
            if (errno == EINTR) continue;
            const int error = errno;
            ::close(fd);
            return tl::unexpected(readErrorFromErrno(error));
        }
        if (got == 0) break;
        filled += static_cast<size_t>(got);
    }
    ::close(fd);
    return std::string_view(buffer.data(), filled);
}

tl::expected<std::string, ReadError> readAll(const char* path) {
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return tl::unexpected(readErrorFromErrno(errno));
    std::string text;
    std::array<char, 16384> chunk;
    for (;;) {
        const ssize_t got = ::read(fd, chunk.data(), chunk.size());
        if (got < 0) {
            if (errno == EINTR) continue;
            const int error = errno;
            ::close(fd);
            return tl::unexpected(readErrorFromErrno(error));
        }
        if (got == 0) break;
        text.append(chunk.data(), static_cast<size_t>(got));
    }
    ::close(fd);
    return text;
}

std::optional<std::string> readAttribute(const std::string& path) {
    std::array<char, 512> buffer;
    const auto text = readInto(path.c_str(), buffer);
    if (!text) return std::nullopt;
    const std::string_view value = text_scan::trim(*text);
    if (value.empty()) return std::nullopt;
    return std::string(value);
}

bool exists(const std::string& path) {
    struct stat info;
    return ::lstat(path.c_str(), &info) == 0;
}

}  // namespace ostrel::linux_files
