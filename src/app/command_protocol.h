#pragma once

#include <cstdint>
#include <string_view>

#include "records/constants.h"

// The names shared by the command-line client and the running application.
namespace ostrel::CommandProtocol {

// Preferences keys of the exchange, under the bundle identifier.
// A command for the next launch ("start", "dashboard"); read and removed at launch.
inline constexpr std::string_view pendingCommandKey = "com.ostrel.agent.command";
// The application's reply to "start".
inline constexpr std::string_view commandResultKey = "com.ostrel.agent.commandResult";
// The application's status snapshot for "status".
inline constexpr std::string_view statusKey = "com.ostrel.agent.status";

static_assert(pendingCommandKey.starts_with(Constants::bundleIdentifier));
static_assert(commandResultKey.starts_with(Constants::bundleIdentifier));
static_assert(statusKey.starts_with(Constants::bundleIdentifier));

// Keys of the dictionary that carries a command.
inline constexpr std::string_view commandEntry = "command";
inline constexpr std::string_view durationEntry = "durationMinutes";
inline constexpr std::string_view intervalEntry = "intervalSeconds";
inline constexpr std::string_view watchedEntry = "watchedProcesses";

// The ranges the command line accepts. A command from the channel whose value lies outside is
// not taken either: anyone of this user can send one, and an absurd duration must not reach
// the capture's clock arithmetic.
inline constexpr int64_t maxIntervalSeconds = 3600;
inline constexpr int64_t maxDurationMinutes = 7200;

// Settings the exchange writes.
inline constexpr std::string_view intervalSetting = "intervalSeconds";
inline constexpr std::string_view durationSetting = "captureDurationMinutes";
inline constexpr std::string_view watchedSetting = "watchedProcesses";
inline constexpr std::string_view headlessSetting = "headlessMode";
inline constexpr std::string_view pinnedSetting = "pinnedProcesses";

}  // namespace ostrel::CommandProtocol
