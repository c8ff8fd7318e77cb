#include "platform/app_paths.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace ostrel::paths {
namespace {

constexpr const char* kFolder = "ostrel";
constexpr const char* kPreferencesFile = "com.ostrel.agent.json";

std::filesystem::path home() {
    if (const char* value = std::getenv("HOME"); value && *value) return value;
    if (const passwd* entry = getpwuid(getuid()); entry && entry->pw_dir) return entry->pw_dir;
    return "/tmp";
}

// An XDG variable counts only when set to an absolute path.
std::filesystem::path xdg(const char* variable, const char* fallbackUnderHome) {
    if (const char* value = std::getenv(variable); value && value[0] == '/') return value;
    return home() / fallbackUnderHome;
}

}  // namespace

std::filesystem::path userPreferencesFile() {
    return xdg("XDG_CONFIG_HOME", ".config") / kFolder / kPreferencesFile;
}

std::filesystem::path managedPreferencesFile() {
    return std::filesystem::path("/etc/ostrel/managed") / kPreferencesFile;
}

std::filesystem::path applicationSupport() {
    return xdg("XDG_DATA_HOME", ".local/share") / kFolder;
}

std::filesystem::path logFile() {
    return xdg("XDG_STATE_HOME", ".local/state") / kFolder / "ostrel.log";
}

std::filesystem::path commandChannelDirectory(const std::filesystem::path& runtimeRoot) {
    if (const char* value = std::getenv("XDG_RUNTIME_DIR"); value && value[0] == '/') {
        return std::filesystem::path(value) / kFolder;
    }
    // The folder that logind makes for the user's sessions, and names in XDG_RUNTIME_DIR where
    // the session sets it.
    const std::filesystem::path own = runtimeRoot / std::to_string(geteuid());
    struct stat info {};
    if (lstat(own.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid()) {
        return own / kFolder;
    }
    return xdg("XDG_STATE_HOME", ".local/state") / kFolder / "run";
}

std::filesystem::path autostartDirectory() {
    return xdg("XDG_CONFIG_HOME", ".config") / "autostart";
}

}  // namespace ostrel::paths
