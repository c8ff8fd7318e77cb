// The build with the desktop module: the module is opened only where a user interface can be
// shown, so a headless agent and a session without a display never map Qt.
#include <string>

#include "app/application.h"
#include "app/desktop_module.h"
#include "platform/graphical_session.h"
#include "platform/standard_preferences.h"

namespace ostrel {
namespace {

// Runs the application without a tray; the delegate logs `reason` once the log file is open.
int runWithoutUserInterface(std::string reason) {
    return runApplication({.makeUserInterface = [reason = std::move(reason)](AppDelegate&) {
        return tl::expected<std::unique_ptr<UserInterface>, std::string>(tl::unexpect, reason);
    }});
}

}  // namespace

int runApplicationEntry(int argc, char** argv) {
    // The same key the configuration reads; it is fixed for the life of the process.
    if (openStandardPreferences()->boolean("headlessMode")) return runApplication();
    if (!graphicalSessionAvailable()) return runWithoutUserInterface("no display available");
    const auto module = openDesktopModule();
    if (!module) return runWithoutUserInterface(module.error());
    return (*module)(argc, argv);
}

}  // namespace ostrel
