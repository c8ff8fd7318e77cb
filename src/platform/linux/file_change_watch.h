#pragma once

#include <mutex>
#include <string>

#include "platform/linux/unique_fd.h"

namespace ostrel {

// Tells, for the price of one read of an inotify descriptor, whether a file may have changed
// since the last look: for files that a sample reads and that almost never change (the
// machine's pretty name, its time zone link), where opening or looking up the path each time
// would cost a walk of it. The file's folder is watched, so that creating, replacing (rename)
// and removing the file are seen as well as writes. Where the kernel cannot watch, every look
// says "may have changed", which costs only the read the watch was meant to save.
class FileChangeWatch {
  public:
    explicit FileChangeWatch(const std::string& path);

    // True at the first look, and whenever something happened to the file since the last.
    bool mayHaveChanged();

  private:
    std::mutex lock_;
    UniqueFd inotify_;
    std::string name_;
    bool looked_ = false;
};

}  // namespace ostrel
