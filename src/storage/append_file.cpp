#include "storage/append_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace ostrel {
namespace {

std::error_code lastError() {
    return {errno, std::generic_category()};
}

}  // namespace

tl::expected<AppendFile, std::error_code> AppendFile::open(const std::filesystem::path& path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) return tl::unexpected(lastError());
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        const auto error = lastError();
        ::close(fd);
        return tl::unexpected(error);
    }
    return AppendFile(fd, info.st_dev, info.st_ino);
}

AppendFile::AppendFile(AppendFile&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), device_(other.device_), inode_(other.inode_) {}

AppendFile& AppendFile::operator=(AppendFile&& other) noexcept {
    if (this != &other) {
        close();
        fd_ = std::exchange(other.fd_, -1);
        device_ = other.device_;
        inode_ = other.inode_;
    }
    return *this;
}

AppendFile::~AppendFile() {
    close();
}

void AppendFile::close() {
    // A failed close is of no use to anyone: the data was handed over at write().
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

tl::expected<void, std::error_code> AppendFile::append(std::string_view bytes) {
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t result = ::write(fd_, bytes.data() + written, bytes.size() - written);
        if (result > 0) {
            written += static_cast<size_t>(result);
            continue;
        }
        if (result < 0 && errno == EINTR) continue;
        const auto error = result < 0 ? lastError() : std::make_error_code(std::errc::io_error);
        struct stat info {};
        if (written > 0 && ::fstat(fd_, &info) == 0 &&
            info.st_size >= static_cast<off_t>(written)) {
            // Best effort: if even this fails the reader drops the torn line as undecodable.
            [[maybe_unused]] const int ignored =
                ::ftruncate(fd_, info.st_size - static_cast<off_t>(written));
        }
        return tl::unexpected(error);
    }
    return {};
}

bool AppendFile::isFileAt(const std::filesystem::path& path) const {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) return false;
    return info.st_dev == device_ && info.st_ino == inode_;
}

}  // namespace ostrel
