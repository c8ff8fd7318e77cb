#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <tl/expected.hpp>
#include <vector>

#include "platform/clock.h"

// The few file operations the store needs, over plain system calls, each reporting failure as
// a value: the store decides per call whether a failure matters.
namespace ostrel::files {

struct FileStatus {
    uint64_t size = 0;
    Date modified;
    // Birth time where the file system keeps one, else the modification time: the age of a
    // file is read from the file, never from its name.
    Date created;
};

std::optional<FileStatus> status(const std::filesystem::path& path);

// Makes the folder and its missing parents, each private to its owner, when nothing stands at
// the path yet.
std::error_code makeDirectories(const std::filesystem::path& path);

// Makes an existing folder private to its owner, as folders made before that rule are not.
std::error_code restrictToOwner(const std::filesystem::path& folder);

// Full paths of the folder's entries, in no particular order.
tl::expected<std::vector<std::filesystem::path>, std::error_code> listDirectory(
    const std::filesystem::path& path);

// Removal that reports only whether it worked; callers count it either way.
bool remove(const std::filesystem::path& path);

// Moves within one folder, atomically, and fails rather than replace a file at `to`.
std::error_code renameNoReplace(const std::filesystem::path& from, const std::filesystem::path& to);

// Reads a file in blocks that end at a line feed (the last may not), through a buffer the
// calling thread keeps: a day of samples is hundreds of MB, and fresh memory for all of it
// costs more than parsing it.
class LineBlockReader {
  public:
    explicit LineBlockReader(const std::filesystem::path& path);
    ~LineBlockReader();
    LineBlockReader(const LineBlockReader&) = delete;
    LineBlockReader& operator=(const LineBlockReader&) = delete;

    bool isOpen() const { return fd_ >= 0; }
    // The size when opened; lines appended since are read too.
    uint64_t sizeAtOpen() const { return sizeAtOpen_; }
    // The next block, or absent at the end of the file or on a read error (see failed()).
    std::optional<std::string_view> next();
    bool failed() const { return failed_; }

  private:
    int fd_ = -1;
    uint64_t sizeAtOpen_ = 0;
    bool failed_ = false;
    bool atEnd_ = false;
    std::unique_ptr<char[]> buffer_;
    size_t capacity_ = 0;
    size_t begin_ = 0;  // start of the bytes not yet handed out
    size_t end_ = 0;    // end of the bytes read
};

// Up to `length` bytes from the start of the file.
std::optional<std::string> readHead(const std::filesystem::path& path, size_t length);
// The last line of the file that is not empty, read backwards in slices of `slice` bytes
// until its start is found, up to `limit` bytes. Absent for an empty or unreadable file, or
// a last line longer than the limit.
std::optional<std::string> readLastLine(const std::filesystem::path& path, size_t slice,
                                        size_t limit);

// Line feeds in the file; a last line without one is not counted. 0 if it cannot be read.
int64_t countLines(const std::filesystem::path& path);

}  // namespace ostrel::files
