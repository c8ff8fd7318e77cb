#include "platform/linux/proc_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>

namespace ostrel::procfs {

FileDescriptor::~FileDescriptor() {
    if (fd_ >= 0) ::close(fd_);
}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
        if (fd_ >= 0) ::close(fd_);
        fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
}

ReadError readErrorFromErrno(int error) {
    switch (error) {
        // ESRCH: the process exited between listing and reading.
        case ENOENT:
        case ESRCH:
        case ENOTDIR:
            return ReadError::notFound;
        case EACCES:
        case EPERM:
            return ReadError::permission;
        case EAFNOSUPPORT:
        case EPROTONOSUPPORT:
        case EOPNOTSUPP:
        case ENOSYS:
            return ReadError::unsupported;
        default:
            return ReadError::parse;
    }
}

tl::expected<FileDescriptor, ReadError> openDirectory(const char* path, int dirfd) {
    const int fd = ::openat(dirfd, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return tl::unexpected(readErrorFromErrno(errno));
    return FileDescriptor(fd);
}

PidPath::PidPath(int32_t pid, std::string_view file) {
    char* end = std::to_chars(text_, text_ + 16, pid).ptr;
    if (!file.empty()) {
        *end++ = '/';
        const size_t length = std::min(file.size(), sizeof(text_) - (end - text_) - 1);
        std::memcpy(end, file.data(), length);
        end += length;
    }
    *end = '\0';
}

tl::expected<std::string_view, ReadError> readFileAt(int dirfd, const char* path,
                                                     std::span<char> buffer) {
    FileDescriptor file(::openat(dirfd, path, O_RDONLY | O_CLOEXEC));
    if (!file) return tl::unexpected(readErrorFromErrno(errno));
    size_t filled = 0;
    while (filled < buffer.size()) {
        const ssize_t count = ::read(file.get(), buffer.data() + filled, buffer.size() - filled);
        if (count < 0) {
            if (errno == EINTR) continue;
            return tl::unexpected(readErrorFromErrno(errno));
        }
        if (count == 0) break;
        filled += static_cast<size_t>(count);
    }
    return std::string_view(buffer.data(), filled);
}

tl::expected<std::vector<int32_t>, ReadError> numericEntries(int dirfd, const char* path) {
    // A private descriptor: the directory offset must not be shared with another reader.
    auto directory = openDirectory(path, dirfd);
    if (!directory) return tl::unexpected(directory.error());
    std::vector<int32_t> numbers;
    alignas(8) char buffer[16384];
    while (true) {
        const ssize_t count = ::getdents64(directory->get(), buffer, sizeof(buffer));
        if (count < 0) {
            if (errno == EINTR) continue;
            return tl::unexpected(readErrorFromErrno(errno));
        }
        if (count == 0) break;
        for (ssize_t offset = 0; offset < count;) {
            const auto* entry = reinterpret_cast<const dirent64*>(buffer + offset);
            offset += entry->d_reclen;
            const char* name = entry->d_name;
            int32_t number = 0;
            const char* end = name + std::strlen(name);
            const auto [last, error] = std::from_chars(name, end, number);
            if (error == std::errc() && last == end && number >= 0) numbers.push_back(number);
        }
    }
    return numbers;
}

}  // namespace ostrel::procfs
