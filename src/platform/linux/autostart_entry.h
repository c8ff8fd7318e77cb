#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace ostrel {

// The login registration's file: a desktop entry in the XDG autostart folder, read by every
// desktop session at login (the freedesktop.org autostart rules).
inline constexpr std::string_view kAutostartFileName = "ostrel.desktop";

// The entry that starts `executable` with no arguments, as the launcher does.
std::string autostartEntry(const std::filesystem::path& executable);

// Whether a session would start the entry in `text`: it has a command, and neither hides
// itself ("Hidden=true", which those rules count as deleted) nor is switched off the
// way GNOME's session settings do ("X-GNOME-Autostart-enabled=false").
bool autostartEntryEnabled(std::string_view text);

}  // namespace ostrel
