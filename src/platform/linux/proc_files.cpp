#include "platform/linux/proc_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

namespace ostrel::procfs {

namespace {

// Scans to wait before a refused file is tried again, spread by pid so that the refused files
// are not all read in one scan.
uint32_t refusalPause(int32_t pid) {
    return 4 + static_cast<uint32_t>(pid % 8);
}

}  // namespace

tl::expected<std::string_view, ReadError> preadAll(int fd, std::span<char> buffer, bool untilEnd) {
    size_t filled = 0;
    while (filled < buffer.size()) {
        const size_t wanted = buffer.size() - filled;
        const ssize_t count =
            ::pread(fd, buffer.data() + filled, wanted, static_cast<off_t>(filled));
        if (count < 0) {
            if (errno == EINTR) continue;
            return tl::unexpected(readErrorFromErrno(errno));
        }
        if (count == 0) break;
        filled += static_cast<size_t>(count);
        if (!untilEnd && static_cast<size_t>(count) < wanted) break;
    }
    return std::string_view(buffer.data(), filled);
}

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

tl::expected<int, ReadError> KeptDirectory::get() {
    std::lock_guard guard(lock_);
    if (!fd_) {
        auto opened = openDirectory(path_.c_str());
        if (!opened) return tl::unexpected(opened.error());
        fd_ = std::move(*opened);
    }
    return fd_.get();
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
                                                     std::span<char> buffer, bool untilEnd) {
    FileDescriptor file(::openat(dirfd, path, O_RDONLY | O_CLOEXEC));
    if (!file) return tl::unexpected(readErrorFromErrno(errno));
    return preadAll(file.get(), buffer, untilEnd);
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
        // The kernel fills the buffer as far as entries fit: room for another entry left over
        // means there is none, and asking again would cost a system call.
        if (sizeof(buffer) - static_cast<size_t>(count) >= sizeof(dirent64)) break;
    }
    return numbers;
}

tl::expected<std::string_view, ReadError> ProcFileHandles::read(int procfd, int32_t pid,
                                                                std::span<char> buffer,
                                                                bool& reopened) {
    auto slot =
        std::lower_bound(handles_.begin(), handles_.end(), pid,
                         [](const Handle& handle, int32_t key) { return handle.pid < key; });
    reopened = false;
    if (slot != handles_.end() && slot->pid == pid) {
        if (slot->refusedScansLeft > 0) {
            --slot->refusedScansLeft;
            return tl::unexpected(ReadError::permission);
        }
        if (slot->file) {
            auto text = preadAll(slot->file.get(), buffer);
            if (text && !text->empty()) return text;
            if (!text && text.error() == ReadError::permission) {
                slot->refusedScansLeft = refusalPause(pid);
                return text;
            }
        }
        // An empty read or another error: the process behind the descriptor has gone. Or the
        // pause of a file refused at opening is over.
        slot = handles_.erase(slot);
    }
    reopened = true;
    FileDescriptor file(::openat(procfd, PidPath(pid, file_).c_str(), O_RDONLY | O_CLOEXEC));
    tl::expected<std::string_view, ReadError> text =
        file ? preadAll(file.get(), buffer) : tl::unexpected(readErrorFromErrno(errno));
    // Another user's file is refused at opening or at reading, depending on the file: either
    // way it is not asked for again until its pause is over.
    const bool refused = !text && text.error() == ReadError::permission;
    if ((text || refused) && handles_.size() < budget_) {
        handles_.insert(slot, Handle{pid, std::move(file), refused ? refusalPause(pid) : 0});
    }
    return text;
}

void ProcFileHandles::retainOnly(const std::vector<int32_t>& pids) {
    std::erase_if(handles_, [&](const Handle& handle) {
        return !std::binary_search(pids.begin(), pids.end(), handle.pid);
    });
}

size_t handleBudget() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return 1024;
    const rlim_t spare = limit.rlim_cur > 256 ? limit.rlim_cur - 256 : 0;
    return static_cast<size_t>(std::min<rlim_t>(spare / 3, 4096));
}

}  // namespace ostrel::procfs
