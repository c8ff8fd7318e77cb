#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "platform/preferences_store.h"

namespace ostrel {

// One layer of the preferences: a JSON file that other processes may replace at any moment.
// Its content is cached and loaded again only when the file changed, which one stat() tells,
// so that every read of a key can afford the check. A missing file reads as empty; a file that
// cannot be read or parsed reads as empty too and is logged once, until it has been readable.
class PreferencesFile {
  public:
    // What an unreadable file means, for the log: the user's layer is passed over, while the
    // managed layer holds every setting at its default.
    enum class Layer { user, managed };

    struct Content {
        std::shared_ptr<const PreferenceDictionary> values;
        // The file exists but could not be read as a JSON object.
        bool unreadable = false;
        std::string problem;  // why, when unreadable
    };

    explicit PreferencesFile(std::filesystem::path path, Layer layer = Layer::user);

    const std::filesystem::path& path() const { return path_; }

    // The file's content now, loaded again if the file changed since the last look.
    Content current();
    // Loads the file whether or not it looks changed.
    Content reload();

    // What identifies one version of the file, as far as stat() can tell.
    struct Signature {
        bool exists = false;
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = 0;
        int64_t modified = 0;  // nanoseconds
        int64_t changed = 0;   // nanoseconds
        bool operator==(const Signature&) const = default;
    };

  private:
    struct Loaded {
        Content content;
        Signature signature;
        int64_t startedAt = 0;  // wall clock before the file was opened, nanoseconds
    };

    Loaded load() const;
    Content install(Loaded loaded, uint64_t generation);

    const std::filesystem::path path_;
    const Layer layer_;

    std::mutex mutex_;
    Content content_;
    Signature signature_;
    // Set when the signature cannot be trusted yet (see preferences_file.cpp).
    bool recheck_ = true;
    uint64_t lastStarted_ = 0;
    uint64_t lastInstalled_ = 0;
};

}  // namespace ostrel
