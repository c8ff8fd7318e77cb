#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <tl/expected.hpp>

#include "platform/preferences_store.h"

namespace ostrel {

// While it lives, the application receives commands. Destroying it stops the receiving and
// withdraws the address.
class CommandListener {
  public:
    virtual ~CommandListener() = default;
};

// While it lives, this process is the user's one running application. Destroying it gives up
// the mark.
class InstanceClaim {
  public:
    virtual ~InstanceClaim() = default;
};

// Called with each command dictionary, on the listener's own thread.
using CommandReceiver = std::function<void(PreferenceDictionary userInfo)>;

// The user's private line between the command-line client and the running application: a
// dictionary goes to every listening instance at once, and only the same user can send one.
class CommandChannel {
  public:
    virtual ~CommandChannel() = default;

    // True while an application of this user holds the running mark, from its launch on.
    virtual bool instanceRunning() const = 0;
    // True while a process other than this one receives commands.
    virtual bool otherInstanceListening() const = 0;
    // Takes the running mark: empty while another process holds it; fails, saying why, when
    // the channel's folder cannot be made private to this user.
    virtual tl::expected<std::unique_ptr<InstanceClaim>, std::string> claimInstance() = 0;
    // Sends `userInfo` to every listening instance; returns how many took it.
    virtual size_t post(const PreferenceDictionary& userInfo) = 0;
    // Starts receiving. Fails when the channel's folder cannot be made private to this user
    // or the address cannot be taken; the text says why.
    virtual tl::expected<std::unique_ptr<CommandListener>, std::string> listen(
        CommandReceiver receiver) = 0;
};

// The channel in `directory` (paths::commandChannelDirectory() in production).
std::unique_ptr<CommandChannel> makeCommandChannel(std::filesystem::path directory);

}  // namespace ostrel
