#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/clock.h"
#include "platform/command_channel.h"
#include "platform/preferences_store.h"

namespace ostrel {

// Makes this process the user's one running application, or hands its launch over to the one
// that runs: the pending command, if there is one, goes to that instance, as a client would
// send it, and this launch ends. An instance that holds the running mark without listening is
// starting or quitting, and is waited for a few seconds. Returns the mark to hold for the
// application's life (empty where the channel's folder is unusable: the application then runs
// unreachable, as it would anyway), or nothing when the launch was handed over.
std::optional<std::unique_ptr<InstanceClaim>> claimInstanceOrHandOver(
    CommandChannel& channel, PreferencesStore& preferences,
    const std::function<void(Duration)>& sleep);

}  // namespace ostrel
