#pragma once

#include <filesystem>

namespace ostrel::paths {

// Where the program keeps its files, by the XDG base-directory rules on Linux. Each function
// reads the environment afresh, so a test's private HOME applies at once. None creates folders.

// $XDG_CONFIG_HOME/ostrel/com.ostrel.agent.json: the user's layer of the preferences.
std::filesystem::path userPreferencesFile();
// /etc/ostrel/managed/com.ostrel.agent.json: the administrator's forced layer. Fixed, so that no
// user setting of the environment can put another file (or none) in its place.
std::filesystem::path managedPreferencesFile();
// $XDG_DATA_HOME/ostrel: holds metrics/ and upload/.
std::filesystem::path applicationSupport();
// $XDG_STATE_HOME/ostrel/ostrel.log
std::filesystem::path logFile();
// The one folder where a client and the running application meet, whatever the environment
// of either: $XDG_RUNTIME_DIR/ostrel when set; else <runtimeRoot>/<uid>/ostrel when that folder
// is this user's (the runtime dir that su, sudo -u, cron and some SSH sessions do not name);
// else a folder under the state directory.
std::filesystem::path commandChannelDirectory(
    const std::filesystem::path& runtimeRoot = "/run/user");
// $XDG_CONFIG_HOME/autostart
std::filesystem::path autostartDirectory();

}  // namespace ostrel::paths
