#pragma once

#include <filesystem>
#include <string>
#include <tl/expected.hpp>
#include <vector>

namespace ostrel {

// The desktop side (Qt, the tray, the popup and the windows) is a shared library of its own,
// opened only when the process is about to show a user interface, so that a headless agent and
// every command-line client never map Qt. The module exports one C function by this name; it
// builds the toolkit's application and runs runApplication with the toolkit's main queue,
// event loop and tray, and returns the process's exit status.
inline constexpr const char* kDesktopModuleEntry = "ostrel_gui_main";
using DesktopModuleMain = int (*)(int argc, char** argv);

inline constexpr const char* kDesktopModuleFileName = "libostrel_gui.so";

// Where the module is looked for, in order: beside the executable (the build tree), then in
// the installed library folder relative to it (`libraryDir`, as "lib/x86_64-linux-gnu/ostrel"),
// then in ../lib/ostrel.
std::vector<std::filesystem::path> desktopModuleCandidates(const std::filesystem::path& executable,
                                                           const std::filesystem::path& libraryDir);

// Opens the first module found beside the running executable and resolves its entry, or says
// why there is none. The module stays open for the life of the process.
tl::expected<DesktopModuleMain, std::string> openDesktopModule();

}  // namespace ostrel
