#include "platform/linux/preferences_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "logging/logger.h"
#include "platform/linux/preferences_json.h"

namespace ostrel {
namespace {

// The kernel stamps files from a clock that advances in ticks of up to 10 ms. A file replaced
// twice within one tick, by one of the same size that reuses the freed inode, would look
// unchanged; so a stamp younger than this, seen from when the file was read, is not trusted and
// the file is read again at the next look.
constexpr int64_t kUntrustedStampAge = 50'000'000;

int64_t nanoseconds(const timespec& time) {
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

int64_t wallClockNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return nanoseconds(now);
}

PreferencesFile::Signature signatureOf(const struct stat& status) {
    return {.exists = true,
            .device = status.st_dev,
            .inode = status.st_ino,
            .size = status.st_size,
            .modified = nanoseconds(status.st_mtim),
            .changed = nanoseconds(status.st_ctim)};
}

PreferencesFile::Signature signatureOf(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return {};
    return signatureOf(status);
}

// The whole content of an open file, or the errno of the failed read.
int readAll(int fd, std::string& text) {
    char buffer[16384];
    for (;;) {
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count == 0) return 0;
        if (count < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        text.append(buffer, static_cast<size_t>(count));
    }
}

}  // namespace

PreferencesFile::PreferencesFile(std::filesystem::path path, Layer layer)
    : path_(std::move(path)),
      layer_(layer),
      content_{std::make_shared<const PreferenceDictionary>(), false} {}

PreferencesFile::Content PreferencesFile::current() {
    const Signature now = signatureOf(path_);
    {
        std::lock_guard lock(mutex_);
        if (lastInstalled_ > 0 && !recheck_ && now == signature_) return content_;
    }
    return reload();
}

PreferencesFile::Content PreferencesFile::reload() {
    uint64_t generation;
    {
        std::lock_guard lock(mutex_);
        generation = ++lastStarted_;
    }
    return install(load(), generation);
}

PreferencesFile::Loaded PreferencesFile::load() const {
    Loaded loaded;
    loaded.content.values = std::make_shared<const PreferenceDictionary>();
    loaded.startedAt = wallClockNow();

    const int fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        // A missing file, or a missing folder above it, is the normal state of an unset layer.
        if (errno != ENOENT && errno != ENOTDIR) {
            loaded.content.problem = std::strerror(errno);
            loaded.content.unreadable = true;
            loaded.signature = signatureOf(path_);
        }
        return loaded;
    }
    struct stat status {};
    std::string text;
    int error = ::fstat(fd, &status) == 0 ? 0 : errno;
    if (error == 0) {
        loaded.signature = signatureOf(status);
        text.reserve(static_cast<size_t>(status.st_size));
        error = readAll(fd, text);
    }
    ::close(fd);

    if (error != 0) {
        loaded.content.problem = std::strerror(error);
        loaded.content.unreadable = true;
    } else if (auto parsed = parsePreferences(text)) {
        loaded.content.values = std::make_shared<const PreferenceDictionary>(std::move(*parsed));
    } else {
        loaded.content.problem = parsed.error().kind == JsonError::Kind::wrongType
                                     ? "not a JSON object"
                                     : "not valid JSON";
        loaded.content.unreadable = true;
    }
    return loaded;
}

PreferencesFile::Content PreferencesFile::install(Loaded loaded, uint64_t generation) {
    bool announce = false;
    Content result;
    {
        std::lock_guard lock(mutex_);
        // Two threads may load at once; the load that started last wins.
        if (generation > lastInstalled_) {
            announce = loaded.content.unreadable && (lastInstalled_ == 0 || !content_.unreadable);
            const int64_t stamp = std::max(loaded.signature.modified, loaded.signature.changed);
            recheck_ = loaded.signature.exists && stamp > loaded.startedAt - kUntrustedStampAge;
            content_ = std::move(loaded.content);
            signature_ = loaded.signature;
            lastInstalled_ = generation;
        }
        result = content_;
    }
    if (announce && layer_ == Layer::managed) {
        Logger::error(fmt::format("Cannot read managed preferences file {}: {}; running on the "
                                  "defaults, with no user setting applied, until it reads",
                                  path_.string(), result.problem),
                      Logger::Category::general);
    } else if (announce) {
        Logger::warning(
            fmt::format("Ignoring preferences file {}: {}", path_.string(), result.problem),
            Logger::Category::general);
    }
    return result;
}

}  // namespace ostrel
