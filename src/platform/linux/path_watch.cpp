#include "platform/path_watch.h"

#include <linux/magic.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/linux/inotify_events.h"
#include "platform/linux/unique_fd.h"

namespace ostrel {
namespace {

constexpr uint32_t kNameEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr uint32_t kSelfEvents = IN_DELETE_SELF | IN_MOVE_SELF;
// The watch of a folder ended (the folder went, or its file system): nothing more is told.
constexpr uint32_t kWatchEnded = IN_IGNORED | IN_UNMOUNT;
constexpr unsigned long kZfsMagic = 0x2fc12fc1;

// Local file systems, whose every change passes through this kernel and so reaches a watch.
// On a network or FUSE file system another machine or a daemon may rename unseen.
bool everyChangeSeenHere(const std::filesystem::path& folder) {
    struct statfs info {};
    if (::statfs(folder.c_str(), &info) != 0) return false;
    switch (static_cast<unsigned long>(info.f_type)) {
        case EXT4_SUPER_MAGIC:  // ext2 and ext3 too
        case XFS_SUPER_MAGIC:
        case BTRFS_SUPER_MAGIC:
        case F2FS_SUPER_MAGIC:
        case TMPFS_MAGIC:
        case OVERLAYFS_SUPER_MAGIC:
        case kZfsMagic:
            return true;
        default:
            return false;
    }
}

}  // namespace

struct PathWatch::Watches {
    UniqueFd inotify;
    // Each watched folder's descriptor and the name in it that leads on to the file.
    std::vector<std::pair<int, std::string>> onTheWay;
    bool ended = false;

    static std::unique_ptr<Watches> make(const std::filesystem::path& path);
    bool anyChange();
    bool leadsOn(int descriptor, const char* name) const {
        for (const auto& [watched, next] : onTheWay) {
            if (watched == descriptor) return next == name;
        }
        return false;
    }
};

std::unique_ptr<PathWatch::Watches> PathWatch::Watches::make(const std::filesystem::path& path) {
    // Only a plain absolute path: "..", "." or a doubled slash would need the real path's steps.
    if (!path.is_absolute() || path != path.lexically_normal() || !path.has_filename()) {
        return nullptr;
    }
    auto watches = std::make_unique<Watches>();
    watches->inotify = UniqueFd(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!watches->inotify) return nullptr;
    std::filesystem::path folder = path.root_path();
    for (const std::filesystem::path& step : path.relative_path()) {
        // IN_DONT_FOLLOW with IN_ONLYDIR refuses a symbolic link: the way to its target would
        // go unwatched.
        if (!everyChangeSeenHere(folder)) return nullptr;
        const int descriptor =
            ::inotify_add_watch(watches->inotify.get(), folder.c_str(),
                                kNameEvents | kSelfEvents | IN_ONLYDIR | IN_DONT_FOLLOW);
        if (descriptor < 0) return nullptr;
        watches->onTheWay.emplace_back(descriptor, step.string());
        folder /= step;
    }
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0 || S_ISLNK(info.st_mode)) return nullptr;
    return watches;
}

bool PathWatch::Watches::anyChange() {
    bool changed = false;
    if (!ended) {
        readInotifyEvents(inotify.get(), [&](const inotify_event& event) {
            ended = (event.mask & kWatchEnded) != 0;
            // Lost events may have been ours.
            if (event.mask & (kSelfEvents | IN_Q_OVERFLOW)) changed = true;
            if (event.len > 0 && leadsOn(event.wd, event.name)) changed = true;
            return !ended;
        });
    }
    return changed || ended;
}

PathWatch::PathWatch(const std::filesystem::path& path) : watches_(Watches::make(path)) {}

PathWatch::~PathWatch() = default;
PathWatch::PathWatch(PathWatch&&) noexcept = default;
PathWatch& PathWatch::operator=(PathWatch&&) noexcept = default;

bool PathWatch::mayHaveMoved() {
    const bool first = !std::exchange(looked_, true);
    if (!watches_) return true;
    return watches_->anyChange() || first;
}

}  // namespace ostrel
