#pragma once

#include <cstdint>
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

// "1234/stat": a pid and a file below it, built without allocating.
class PidPath {
  public:
    PidPath(int32_t pid, std::string_view file);
    const char* c_str() const { return text_; }

  private:
    char text_[64];
};

// The file's text, cut at the buffer's size (enough for every file read this way).
tl::expected<std::string_view, ReadError> readFileAt(int dirfd, const char* path,
                                                     std::span<char> buffer);

// The numeric entries of the directory `path` below `dirfd` (the pids of /proc, the
// descriptors of /proc/<pid>/fd).
tl::expected<std::vector<int32_t>, ReadError> numericEntries(int dirfd, const char* path);

}  // namespace ostrel::procfs
