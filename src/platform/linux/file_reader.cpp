#include "platform/linux/file_reader.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
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

std::vector<std::string> entryNames(const std::string& directory) {
    std::vector<std::string> names;
    DIR* dir = ::opendir(directory.c_str());
    if (!dir) return names;
    while (const dirent* entry = ::readdir(dir)) {
        if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
    }
    ::closedir(dir);
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> numberedEntries(const std::string& directory, std::string_view prefix) {
    std::vector<std::string> names = entryNames(directory);
    std::erase_if(names, [prefix](std::string_view name) {
        return !name.starts_with(prefix) ||
               !text_scan::parseNumber<unsigned>(name.substr(prefix.size()));
    });
    return names;
}

}  // namespace ostrel::linux_files
