#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <tl/expected.hpp>

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
    // replaced from outside, or cannot be looked at.
    bool isFileAt(const std::filesystem::path& path) const;

  private:
    AppendFile(int fd, dev_t device, ino_t inode) : fd_(fd), device_(device), inode_(inode) {}
    void close();
    // Writes a line feed if the file of `size` bytes does not end in one.
    tl::expected<void, std::error_code> endTornLine(off_t size);

    int fd_ = -1;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

}  // namespace ostrel
