#include "platform/linux/file_preferences_store.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <tl/expected.hpp>
#include <vector>

#include "logging/logger.h"
#include "platform/linux/preferences_json.h"
#include "platform/linux/replace_file.h"
#include "platform/linux/unique_fd.h"

namespace ostrel {
namespace {

using Result = PreferenceWrite;

// An exclusive flock on the lock file beside the preferences, held while the descriptor is
// open. The lock file is never removed: removing it would let two writers lock different files.
tl::expected<UniqueFd, std::string> lockForWriting(const std::filesystem::path& preferences) {
    std::filesystem::path lockPath = preferences;
    lockPath += ".lock";
    UniqueFd lock(::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock) return fileFailure("cannot open", lockPath);
    while (::flock(lock.get(), LOCK_EX) != 0) {
        if (errno != EINTR) return fileFailure("cannot lock", lockPath);
    }
    return lock;
}

// "20261122T101530" in local time: the moment a file was set aside, for the person who finds it.
std::string fileStamp(Date date) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(date);
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[32];
    const size_t length = std::strftime(text, sizeof text, "%Y%m%dT%H%M%S", &local);
    return std::string(text, length);
}

// Copies set aside may hold the token, and a file broken again and again would pile them up:
// the newest few are enough to find out what went wrong.
constexpr size_t kCorruptCopiesKept = 3;

void dropOldCorruptCopies(const std::filesystem::path& path) {
    const std::string prefix = path.filename().string() + ".corrupt-";
    std::vector<std::filesystem::path> copies;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(path.parent_path(), error)) {
        if (entry.path().filename().string().starts_with(prefix)) copies.push_back(entry.path());
    }
    if (copies.size() <= kCorruptCopiesKept) return;
    // The stamp in the name sorts by time.
    std::sort(copies.begin(), copies.end());
    for (size_t i = 0; i + kCorruptCopiesKept < copies.size(); ++i)
        std::filesystem::remove(copies[i], error);
}

// Moves a file that could not be read out of the way under a new name, so that replacing it
// loses nothing. Runs under the write lock, so no other writer picks the same name.
Result keepAside(const std::filesystem::path& path, Date now) {
    const std::string base = path.string() + ".corrupt-" + fileStamp(now);
    std::string name = base;
    for (int attempt = 2; ::access(name.c_str(), F_OK) == 0; ++attempt) {
        name = fmt::format("{}-{}", base, attempt);
    }
    if (::rename(path.c_str(), name.c_str()) != 0) return fileFailure("cannot set aside", path);
    Logger::warning(fmt::format("Kept unreadable preferences file as {}", name),
                    Logger::Category::general);
    dropOldCorruptCopies(path);
    return {};
}

}  // namespace

FilePreferencesStore::FilePreferencesStore(std::filesystem::path userFile,
                                           std::filesystem::path managedFile, const Clock& clock)
    : user_(std::move(userFile)),
      managed_(std::move(managedFile), PreferencesFile::Layer::managed),
      clock_(clock) {}

std::optional<PreferenceValue> FilePreferencesStore::object(std::string_view key) const {
    for (PreferencesFile* layer : {&managed_, &user_}) {
        const auto content = layer->current();
        if (auto it = content.values->find(key); it != content.values->end()) return it->second;
    }
    return std::nullopt;
}

bool FilePreferencesStore::isForced(std::string_view key) const {
    const auto content = managed_.current();
    return content.unreadable || content.values->find(key) != content.values->end();
}

std::optional<std::string> FilePreferencesStore::managedLayerError() const {
    const auto content = managed_.current();
    if (!content.unreadable) return std::nullopt;
    return fmt::format("cannot read {}: {}", managed_.path().string(), content.problem);
}

PreferenceWrite FilePreferencesStore::set(std::string_view key, PreferenceValue value) {
    return update(key, std::move(value));
}

PreferenceWrite FilePreferencesStore::remove(std::string_view key) {
    return update(key, std::nullopt);
}

void FilePreferencesStore::synchronize() {
    managed_.reload();
    user_.reload();
}

PreferenceWrite FilePreferencesStore::update(std::string_view key,
                                             std::optional<PreferenceValue> value) {
    const std::filesystem::path& path = user_.path();
    auto saved = [&]() -> Result {
        std::error_code ignored;
        std::filesystem::create_directories(path.parent_path(), ignored);
        auto lock = lockForWriting(path);
        if (!lock) return tl::unexpected(lock.error());

        // Under the lock nobody else writes, so the file read now is the one to change.
        const auto fresh = user_.reload();
        PreferenceDictionary values = *fresh.values;
        const auto it = values.find(key);
        if (value) {
            if (it != values.end() && it->second == *value) return {};
            values.insert_or_assign(std::string(key), std::move(*value));
        } else {
            if (it == values.end()) return {};
            values.erase(it);
        }

        const auto text = encodePreferences(values);
        if (!text) return tl::unexpected(fmt::format("{} for key {}", text.error().message(), key));
        if (fresh.unreadable) {
            if (auto kept = keepAside(path, clock_.now()); !kept) return kept;
        }
        auto replaced = replaceFile(path, *text);
        // Take in what was written, so that a file this store found broken counts as mended.
        if (replaced) user_.reload();
        return replaced;
    }();
    if (!saved) {
        Logger::error("Could not save preferences", saved.error(), Logger::Category::general);
    }
    return saved;
}

}  // namespace ostrel
