#pragma once

#include <filesystem>

namespace ostrel::paths {

// Where the program keeps its files, by the XDG base-directory rules on Linux. Each function
// reads the environment afresh, so a test's private HOME applies at once. None creates folders.

// $XDG_CONFIG_HOME/ostrel/com.ostrel.agent.json: the user's layer of the preferences.
std::filesystem::path userPreferencesFile();
// /etc/ostrel/managed/com.ostrel.agent.json: the administrator's forced layer. The variable
// OSTREL_MANAGED_PREFERENCES names another file, for trying a profile before deploying it.
std::filesystem::path managedPreferencesFile();
// $XDG_DATA_HOME/ostrel: holds metrics/ and upload/.
std::filesystem::path applicationSupport();
// $XDG_STATE_HOME/ostrel/ostrel.log
std::filesystem::path logFile();
// $XDG_RUNTIME_DIR/ostrel, or a folder under the state directory where there is no runtime dir.
std::filesystem::path commandChannelDirectory();
// $XDG_CONFIG_HOME/autostart
std::filesystem::path autostartDirectory();

}  // namespace ostrel::paths
