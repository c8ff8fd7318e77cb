#include "platform/linux/kernel_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/proc_files.h"

namespace ostrel {

KernelFile::KernelFile(std::string path, Generated generated)
    : path_(std::move(path)), generated_(generated) {}

KernelFile::~KernelFile() {
    if (const int fd = fd_.load(); fd >= 0) ::close(fd);
}

tl::expected<int, ReadError> KernelFile::descriptor() {
    if (const int fd = fd_.load(std::memory_order_acquire); fd >= 0) return fd;
    std::lock_guard lock(openLock_);
    if (const int fd = fd_.load(std::memory_order_acquire); fd >= 0) return fd;
    const int fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return tl::unexpected(procfs::readErrorFromErrno(errno));
    fd_.store(fd, std::memory_order_release);
    return fd;
}

tl::expected<std::string_view, ReadError> KernelFile::read(std::span<char> buffer) {
    const auto fd = descriptor();
    if (!fd) return tl::unexpected(fd.error());
    size_t filled = 0;
    while (filled < buffer.size()) {
        const ssize_t got = ::pread(*fd, buffer.data() + filled, buffer.size() - filled,
                                    static_cast<off_t>(filled));
        if (got < 0) {
            if (errno == EINTR) continue;
            return tl::unexpected(procfs::readErrorFromErrno(errno));
        }
        if (got == 0) break;
        filled += static_cast<size_t>(got);
        if (generated_ == Generated::whole) break;
    }
    return std::string_view(buffer.data(), filled);
}

}  // namespace ostrel
