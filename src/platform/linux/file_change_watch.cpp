#include "platform/linux/file_change_watch.h"

#include <sys/inotify.h>

#include <utility>

#include "platform/linux/inotify_events.h"

namespace ostrel {

namespace {

constexpr uint32_t kFileEvents =
    IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr uint32_t kFolderGone = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;

}  // namespace

FileChangeWatch::FileChangeWatch(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    name_ = slash == std::string::npos ? path : path.substr(slash + 1);
    UniqueFd inotify(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (inotify &&
        ::inotify_add_watch(inotify.get(), folder.c_str(),
                            kFileEvents | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR) >= 0) {
        inotify_ = std::move(inotify);
    }
}

bool FileChangeWatch::mayHaveChanged() {
    std::lock_guard guard(lock_);
    bool changed = !std::exchange(looked_, true);
    if (!inotify_) return true;
    bool gone = false;
    readInotifyEvents(inotify_.get(), [&](const inotify_event& event) {
        // A lost event may have been this file's; a folder that went can tell no more.
        if (event.mask & IN_Q_OVERFLOW) changed = true;
        gone = (event.mask & kFolderGone) != 0;
        if (event.len > 0 && name_ == event.name) changed = true;
        return !gone;
    });
    if (gone) {
        inotify_.reset();
        return true;
    }
    return changed;
}

}  // namespace ostrel
