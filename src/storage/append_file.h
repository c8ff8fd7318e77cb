#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <tl/expected.hpp>
#include <utility>

#include "platform/path_watch.h"

namespace ostrel {

// A file opened for appending, created if missing, readable by its owner only. Each append
// lands whole at the end or not at all: a write that fails half-way (a full disk) is cut back,
// and a last line torn by a crash is ended with a line feed at the open, so a later line never
// joins the torn head of an earlier one.
class AppendFile {
  public:
    static constexpr mode_t kFileMode = 0600;

    static tl::expected<AppendFile, std::error_code> open(const std::filesystem::path& path);

    AppendFile(AppendFile&& other) noexcept;
    AppendFile& operator=(AppendFile&& other) noexcept;
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;
    ~AppendFile();

    tl::expected<void, std::error_code> append(std::string_view bytes);
    // The file's size now; absent if it cannot be looked at.
    std::optional<uint64_t> size() const;
    // Whether `path` still names the file this handle writes: false once it was deleted or
    // replaced from outside, or cannot be looked at. The name it was opened at is watched from
    // the first check on, and looked up again only after a change on the way to it.
    bool isFileAt(const std::filesystem::path& path);

  private:
    AppendFile(int fd, dev_t device, ino_t inode, std::filesystem::path path)
        : fd_(fd), device_(device), inode_(inode), path_(std::move(path)) {}
    void close();
    // Writes a line feed if the file of `size` bytes does not end in one.
    tl::expected<void, std::error_code> endTornLine(off_t size);

    int fd_ = -1;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    std::filesystem::path path_;          // where it was opened
    std::optional<PathWatch> nameWatch_;  // made at the first check, not for every file
};

}  // namespace ostrel
