#pragma once

#include <atomic>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "platform/read_error.h"

namespace ostrel {

// A kernel-generated file read on every sample: opened once, then read from its start with
// pread, which makes the kernel generate it afresh. That spares an open and a close per read,
// most of the cost of a small /proc file. Only for files that live as long as the machine
// (/proc, the CPU list), never for those of devices that come and go. Safe from any thread.
class KernelFile {
  public:
    // How the kernel hands the text out: a file made whole at each read comes in one read, so
    // a short one is its end; one made a line at a time (/proc/diskstats, /proc/vmstat) comes
    // in page-sized pieces, read until the kernel has nothing more.
    enum class Generated { whole, inPages };

    explicit KernelFile(std::string path, Generated generated = Generated::whole);
    ~KernelFile();
    KernelFile(const KernelFile&) = delete;
    KernelFile& operator=(const KernelFile&) = delete;

    // The text from the start, cut at the buffer's size. A file that cannot be opened is tried
    // again on the next read.
    tl::expected<std::string_view, ReadError> read(std::span<char> buffer);

  private:
    tl::expected<int, ReadError> descriptor();

    const std::string path_;
    const Generated generated_;
    std::mutex openLock_;
    std::atomic<int> fd_{-1};
};

}  // namespace ostrel
