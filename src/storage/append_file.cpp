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
    // O_RDWR: the last byte is read back to find a line torn by a crash.
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, kFileMode);
    if (fd < 0) return tl::unexpected(lastError());
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        const auto error = lastError();
        ::close(fd);
        return tl::unexpected(error);
    }
    AppendFile file(fd, info.st_dev, info.st_ino, path);
    // Files made before they were private become private at their next write.
    if ((info.st_mode & 07777) != kFileMode) (void)::fchmod(fd, kFileMode);
    if (auto ended = file.endTornLine(info.st_size); !ended) return tl::unexpected(ended.error());
    return file;
}

tl::expected<void, std::error_code> AppendFile::endTornLine(off_t size) {
    if (size < 1) return {};
    char last = '\n';
    ssize_t read = -1;
    do {
        read = ::pread(fd_, &last, 1, size - 1);
    } while (read < 0 && errno == EINTR);
    if (read < 0) return tl::unexpected(lastError());
    // A crash mid-write leaves a line without its feed; the next line would join it and both
    // be lost to reading.
    if (read == 1 && last != '\n') return append("\n");
    return {};
}

AppendFile::AppendFile(AppendFile&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)),
      device_(other.device_),
      inode_(other.inode_),
      path_(std::move(other.path_)),
      nameWatch_(std::move(other.nameWatch_)) {}

AppendFile& AppendFile::operator=(AppendFile&& other) noexcept {
    if (this != &other) {
        close();
        fd_ = std::exchange(other.fd_, -1);
        device_ = other.device_;
        inode_ = other.inode_;
        path_ = std::move(other.path_);
        nameWatch_ = std::move(other.nameWatch_);
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

std::optional<uint64_t> AppendFile::size() const {
    struct stat info {};
    if (::fstat(fd_, &info) != 0) return std::nullopt;
    return static_cast<uint64_t>(info.st_size);
}

bool AppendFile::isFileAt(const std::filesystem::path& path) {
    if (path == path_) {
        // Set before the look-up below, so that a change after it is told at the next check.
        if (!nameWatch_) nameWatch_.emplace(path_);
        if (!nameWatch_->mayHaveMoved()) return true;
    }
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) return false;
    return info.st_dev == device_ && info.st_ino == inode_;
}

}  // namespace ostrel
