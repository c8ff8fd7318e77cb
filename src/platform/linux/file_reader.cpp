#include "platform/linux/file_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "platform/linux/proc_files.h"
#include "platform/linux/text_scan.h"

namespace ostrel::linux_files {

tl::expected<std::string, ReadError> readAll(const char* path) {
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return tl::unexpected(procfs::readErrorFromErrno(errno));
    std::string text;
    std::array<char, 16384> chunk;
    for (;;) {
        const ssize_t got = ::read(fd, chunk.data(), chunk.size());
        if (got < 0) {
            if (errno == EINTR) continue;
            const int error = errno;
            ::close(fd);
            return tl::unexpected(procfs::readErrorFromErrno(error));
        }
        if (got == 0) break;
        text.append(chunk.data(), static_cast<size_t>(got));
    }
    ::close(fd);
    return text;
}

std::optional<std::string> readAttribute(const std::string& path) {
    std::array<char, 512> buffer;
    const auto text = procfs::readFileAt(AT_FDCWD, path.c_str(), buffer);
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
