#pragma once

#include <functional>
#include <memory>
#include <string>
#include <tl/expected.hpp>

namespace ostrel {

class AppDelegate;

// The desktop side of the application: the tray item with its popup and menu. Built by the
// delegate at launch unless headless mode is on; used and released on the main queue.
class UserInterface {
  public:
    virtual ~UserInterface() = default;

    // Closes the popup, if it is open, and stops watching for clicks outside it.
    virtual void stopEventMonitor() = 0;
    virtual void openDashboard() = 0;
};

// Builds the tray item for `delegate`, or says why this desktop cannot show one.
using UserInterfaceFactory =
    std::function<tl::expected<std::unique_ptr<UserInterface>, std::string>(AppDelegate& delegate)>;

}  // namespace ostrel
