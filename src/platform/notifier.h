#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace ostrel {

// One desktop notification. The identifier is ours, fresh per request, for the log.
struct Notification {
    std::string identifier;
    std::string title;
    std::string body;
};

// The desktop's notification service: rights and posting. Every call returns at once; the
// handlers run later on the notifier's own thread, never on the caller's queue.
class Notifier {
  public:
    // `errorDescription` is set when asking failed, as opposed to rights simply not given.
    using AuthorizationHandler =
        std::function<void(bool granted, std::optional<std::string> errorDescription)>;
    using StatusHandler = std::function<void(bool authorized)>;
    // Absent on delivery to the service, else why it failed.
    using PostHandler = std::function<void(std::optional<std::string> errorDescription)>;

    virtual ~Notifier() = default;

    // Asks for the right to show notifications with sound.
    virtual void requestAuthorization(AuthorizationHandler handler) = 0;
    // Whether notifications may be shown now, without asking.
    virtual void authorizationStatus(StatusHandler handler) = 0;
    // Shows a notification with the default sound. Rights are not checked first.
    virtual void post(Notification notification, PostHandler handler) = 0;
};

// The session bus's address: $DBUS_SESSION_BUS_ADDRESS, else the socket "bus" in
// $XDG_RUNTIME_DIR if it exists; absent when there is no session bus to be found.
std::optional<std::string> sessionBusAddress();

// The desktop's notification service at the bus `address`. With no address, no bus or no
// service there, rights read as not granted and posts fail with a description.
std::unique_ptr<Notifier> makeDesktopNotifier(std::optional<std::string> address);

}  // namespace ostrel
