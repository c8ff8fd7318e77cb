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
    return procfs::preadAll(*fd, buffer, generated_ == Generated::inPages);
}

}  // namespace ostrel
