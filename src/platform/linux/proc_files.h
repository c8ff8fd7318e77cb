#pragma once

#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>
#include <vector>

#include "platform/read_error.h"

// Plain reads of kernel files into the caller's buffer: no streams, no allocation per file,
// since a process scan opens several files per process on every sample.
namespace ostrel::procfs {

// A descriptor closed at scope end.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor();
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

  private:
    int fd_ = -1;
};

ReadError readErrorFromErrno(int error);

// Opens a directory, relative to `dirfd` unless `path` is absolute.
tl::expected<FileDescriptor, ReadError> openDirectory(const char* path, int dirfd = -100);

// A directory (the /proc root) opened once and kept for the life of its owner, so that a reader
// does not open it on every sample. Opened at the first use that finds it. Thread-safe.
class KeptDirectory {
  public:
    explicit KeptDirectory(std::string path) : path_(std::move(path)) {}
    tl::expected<int, ReadError> get();

  private:
    const std::string path_;
    std::mutex lock_;
    FileDescriptor fd_;
};

// "1234/stat": a pid and a file below it, built without allocating.
class PidPath {
  public:
    PidPath(int32_t pid, std::string_view file);
    const char* c_str() const { return text_; }

  private:
    char text_[64];
};

// The text of an open kernel file from its start, cut at the buffer's size. A file made whole
// at each read comes in one read when it fits, so a short read is its end and asking again would
// cost another system call; one made a line at a time comes in page-sized pieces and is read
// `untilEnd`, until the kernel has nothing more.
tl::expected<std::string_view, ReadError> preadAll(int fd, std::span<char> buffer,
                                                   bool untilEnd = false);

// The file's text, cut at the buffer's size (enough for every file read this way); `untilEnd`
// as for preadAll.
tl::expected<std::string_view, ReadError> readFileAt(int dirfd, const char* path,
                                                     std::span<char> buffer, bool untilEnd = false);

// The numeric entries of the directory `path` below `dirfd` (the pids of /proc, the
// descriptors of /proc/<pid>/fd).
tl::expected<std::vector<int32_t>, ReadError> numericEntries(int dirfd, const char* path);

// Open descriptors of one per-process file (stat, io), kept from scan to scan so that a scan
// reads each with a single pread instead of open, read and close; system calls are the whole
// cost of a scan. A descriptor stays bound to its process: once the process is gone it reads
// nothing, so a reused pid is never read through its predecessor's descriptor. A file that
// refused to be read is tried again only after a few scans, as the refusal (another user's
// process) rarely changes. At most `budget` descriptors are kept; beyond that files are opened
// and closed as usual. Not thread-safe: one scan at a time uses it.
class ProcFileHandles {
  public:
    ProcFileHandles(const char* file, size_t budget) : file_(file), budget_(budget) {}

    // The file of `pid`; `reopened` tells whether it was opened afresh (a new process, or a
    // pid that now belongs to another one).
    tl::expected<std::string_view, ReadError> read(int procfd, int32_t pid, std::span<char> buffer,
                                                   bool& reopened);
    // Closes the descriptors of processes not in `pids` (sorted).
    void retainOnly(const std::vector<int32_t>& pids);
    size_t size() const { return handles_.size(); }

  private:
    struct Handle {
        int32_t pid = 0;
        FileDescriptor file;
        uint32_t refusedScansLeft = 0;
    };
    const char* file_;
    size_t budget_;
    std::vector<Handle> handles_;  // sorted by pid
};

// How many descriptors per kind of file a scan may keep: a share of the process's limit, so
// that a machine with thousands of processes cannot starve the program of descriptors.
size_t handleBudget();

}  // namespace ostrel::procfs
