#pragma once

#include <filesystem>
#include <memory>

namespace ostrel {

// Tells, for the price of one read, whether a path may no longer lead to the file it led to
// when the watch began: the file, or any folder on the way from the root, renamed, removed or
// replaced. A writer that keeps a file open checks its name with this instead of looking the
// whole path up before every line. Where not every step can be watched (a symbolic link on the
// way, a file system whose changes may come from another machine, no watch to be had), every
// look says "may have moved", which costs only the look-up the watch was meant to save.
class PathWatch {
  public:
    explicit PathWatch(const std::filesystem::path& path);
    ~PathWatch();
    PathWatch(PathWatch&&) noexcept;
    PathWatch& operator=(PathWatch&&) noexcept;

    // True at the first look, so the caller checks once with the watch already in place, and
    // whenever something on the way may have changed since the last look.
    bool mayHaveMoved();

  private:
    struct Watches;
    std::unique_ptr<Watches> watches_;  // absent where the path cannot be watched
    bool looked_ = false;
};

}  // namespace ostrel
