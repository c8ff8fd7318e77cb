#include "app/single_instance.h"

#include <fmt/format.h>

#include "app/command_protocol.h"
#include "logging/logger.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
namespace P = CommandProtocol;

constexpr auto kGeneral = Logger::Category::general;
// A client's probe holds the mark for an instant; an instance that starts or quits holds it
// for a second or two without listening.
constexpr Duration kClaimRetry = 200ms;
constexpr int kClaimAttempts = 50;

void handOver(CommandChannel& channel, PreferencesStore& preferences, bool listening) {
    if (!listening) {
        Logger::warning(
            "Ostrel is already running but takes no commands; this launch ends and leaves any "
            "pending command in place",
            kGeneral);
        return;
    }
    const auto command = preferences.string(P::pendingCommandKey);
    if (!command || command->empty()) {
        Logger::info("Ostrel is already running; this launch ends", kGeneral);
        return;
    }
    if (channel.post({{std::string(P::commandEntry), *command}}) == 0) {
        Logger::warning("Ostrel is already running but took no command; this launch ends",
                        kGeneral);
        return;
    }
    // Taken, as a launch that performs a pending command takes it.
    preferences.remove(P::pendingCommandKey);
    preferences.synchronize();
    Logger::info(fmt::format("Ostrel is already running; handed the pending command {} over to "
                             "it and this launch ends",
                             *command),
                 kGeneral);
}

}  // namespace

std::optional<std::unique_ptr<InstanceClaim>> claimInstanceOrHandOver(
    CommandChannel& channel, PreferencesStore& preferences,
    const std::function<void(Duration)>& sleep) {
    for (int attempt = 1;; ++attempt) {
        auto claim = channel.claimInstance();
        if (!claim) {
            Logger::error("Cannot mark this instance as running", claim.error(), kGeneral);
            return std::unique_ptr<InstanceClaim>();
        }
        if (*claim) return std::move(*claim);
        const bool listening = channel.otherInstanceListening();
        if (listening || attempt == kClaimAttempts) {
            handOver(channel, preferences, listening);
            return std::nullopt;
        }
        sleep(kClaimRetry);
    }
}

}  // namespace ostrel
