#include "platform/file_system.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace ostrel::files {
namespace {

// Closes on scope exit; a failed close after reading changes nothing.
class ReadHandle {
  public:
    explicit ReadHandle(const std::filesystem::path& path)
        : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~ReadHandle() {
        if (fd_ >= 0) ::close(fd_);
    }
    ReadHandle(const ReadHandle&) = delete;
    ReadHandle& operator=(const ReadHandle&) = delete;

    bool isOpen() const { return fd_ >= 0; }
    int fd() const { return fd_; }

    // Reads `length` bytes at `offset` or up to the end; false on a read error.
    bool readAt(char* out, size_t length, off_t offset, size_t& got) const {
        got = 0;
        while (got < length) {
            const ssize_t n =
                ::pread(fd_, out + got, length - got, offset + static_cast<off_t>(got));
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) return false;
            if (n == 0) break;
            got += static_cast<size_t>(n);
        }
        return true;
    }

  private:
    int fd_;
};

Date toDate(const statx_timestamp& stamp) {
    return Date(std::chrono::duration_cast<Date::duration>(
        std::chrono::seconds(stamp.tv_sec) + std::chrono::nanoseconds(stamp.tv_nsec)));
}

}  // namespace

std::optional<FileStatus> status(const std::filesystem::path& path) {
    struct statx info {};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, &info) != 0) {
        return std::nullopt;
    }
    FileStatus result;
    result.size = info.stx_size;
    result.modified = toDate(info.stx_mtime);
    result.created = (info.stx_mask & STATX_BTIME) ? toDate(info.stx_btime) : result.modified;
    return result;
}

std::error_code makeDirectories(const std::filesystem::path& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) == 0) return {};
    if (path.has_parent_path() && path.parent_path() != path) {
        if (auto error = makeDirectories(path.parent_path())) return error;
    }
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
        return {errno, std::generic_category()};
    return {};
}

std::error_code restrictToOwner(const std::filesystem::path& folder) {
    if (::chmod(folder.c_str(), 0700) != 0) return {errno, std::generic_category()};
    return {};
}

tl::expected<std::vector<std::filesystem::path>, std::error_code> listDirectory(
    const std::filesystem::path& path) {
    std::error_code error;
    std::filesystem::directory_iterator it(path, error);
    if (error) return tl::unexpected(error);
    std::vector<std::filesystem::path> entries;
    for (const std::filesystem::directory_iterator end; it != end; it.increment(error)) {
        if (error) return tl::unexpected(error);
        entries.push_back(it->path());
    }
    if (error) return tl::unexpected(error);
    return entries;
}

bool remove(const std::filesystem::path& path) {
    return ::unlink(path.c_str()) == 0;
}

std::error_code renameNoReplace(const std::filesystem::path& from,
                                const std::filesystem::path& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
    if (errno != EINVAL && errno != ENOSYS) return {errno, std::generic_category()};
    // A file system without the no-replace flag: a hard link refuses an existing name too.
    if (::link(from.c_str(), to.c_str()) != 0) return {errno, std::generic_category()};
    ::unlink(from.c_str());
    return {};
}

namespace {

constexpr size_t kBlockSize = 256 * 1024;  // fits in L2, so lines are parsed from cache
// One buffer per thread, lent to one reader at a time; a reader that finds it lent out
// makes its own.
thread_local std::unique_ptr<char[]> spareBuffer;
thread_local size_t spareCapacity = 0;

}  // namespace

LineBlockReader::LineBlockReader(const std::filesystem::path& path)
    : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat info {};
    if (fd_ < 0) return;
    if (::fstat(fd_, &info) != 0) {
        ::close(fd_);
        fd_ = -1;
        return;
    }
    sizeAtOpen_ = static_cast<uint64_t>(info.st_size);
    if (spareBuffer) {
        buffer_ = std::move(spareBuffer);
        capacity_ = std::exchange(spareCapacity, 0);
    } else {
        buffer_.reset(new char[kBlockSize]);
        capacity_ = kBlockSize;
    }
}

LineBlockReader::~LineBlockReader() {
    if (fd_ >= 0) ::close(fd_);
    if (buffer_ && (!spareBuffer || capacity_ > spareCapacity)) {
        spareBuffer = std::move(buffer_);
        spareCapacity = capacity_;
    }
}

std::optional<std::string_view> LineBlockReader::next() {
    if (fd_ < 0 || failed_) return std::nullopt;
    while (true) {
        // Whole lines waiting in the buffer go out first.
        const char* start = buffer_.get() + begin_;
        const size_t waiting = end_ - begin_;
        if (atEnd_) {
            if (waiting == 0) return std::nullopt;
            begin_ = end_;
            return std::string_view(start, waiting);
        }
        if (waiting > 0) {
            const auto* lastFeed = static_cast<const char*>(::memrchr(start, '\n', waiting));
            if (lastFeed) {
                const size_t length = static_cast<size_t>(lastFeed - start) + 1;
                begin_ += length;
                return std::string_view(start, length);
            }
        }
        // Keep the partial line, at the front, and read more behind it; a line longer than
        // the buffer doubles it.
        std::memmove(buffer_.get(), start, waiting);
        begin_ = 0;
        end_ = waiting;
        if (end_ == capacity_) {
            auto larger = std::unique_ptr<char[]>(new char[capacity_ * 2]);
            std::memcpy(larger.get(), buffer_.get(), end_);
            buffer_ = std::move(larger);
            capacity_ *= 2;
        }
        const ssize_t n = ::read(fd_, buffer_.get() + end_, capacity_ - end_);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            failed_ = true;
            return std::nullopt;
        }
        if (n == 0) atEnd_ = true;
        end_ += static_cast<size_t>(n);
    }
}

std::optional<std::string> readHead(const std::filesystem::path& path, size_t length) {
    ReadHandle file(path);
    if (!file.isOpen()) return std::nullopt;
    std::string head(length, '\0');
    size_t got = 0;
    if (!file.readAt(head.data(), length, 0, got)) return std::nullopt;
    head.resize(got);
    return head;
}

std::optional<std::string> readLastLine(const std::filesystem::path& path, size_t slice,
                                        size_t limit) {
    ReadHandle file(path);
    if (!file.isOpen()) return std::nullopt;
    struct stat info {};
    if (::fstat(file.fd(), &info) != 0 || info.st_size <= 0) return std::nullopt;
    const auto size = static_cast<size_t>(info.st_size);

    std::string tail;  // the last `tail.size()` bytes of the file
    while (true) {
        const size_t want = std::min({tail.size() + slice, size, limit});
        if (want == tail.size()) return std::nullopt;
        std::string more(want - tail.size(), '\0');
        size_t got = 0;
        if (!file.readAt(more.data(), more.size(), static_cast<off_t>(size - want), got) ||
            got != more.size()) {
            return std::nullopt;
        }
        tail.insert(0, more);
        const size_t end = tail.find_last_not_of('\n');
        if (end == std::string::npos) {
            if (want == size) return std::nullopt;  // nothing but line feeds
            continue;
        }
        const size_t feed = tail.rfind('\n', end);
        if (feed != std::string::npos) return tail.substr(feed + 1, end - feed);
        if (want == size) return tail.substr(0, end + 1);
    }
}

int64_t countLines(const std::filesystem::path& path) {
    ReadHandle file(path);
    if (!file.isOpen()) return 0;
    static constexpr size_t kChunk = 65536;
    auto buffer = std::make_unique<char[]>(kChunk);
    int64_t lines = 0;
    while (true) {
        const ssize_t n = ::read(file.fd(), buffer.get(), kChunk);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        lines += std::count(buffer.get(), buffer.get() + n, '\n');
    }
    return lines;
}

}  // namespace ostrel::files
