// The build with Qt: a tray item where the session has a display and a tray, and no Qt at all
// in headless mode, so that a server never needs a window system.
#include <QApplication>
#include <QIcon>

#include "app/application.h"
#include "app/gui/qt_main_queue.h"
#include "app/gui/tray_item.h"
#include "platform/graphical_session.h"
#include "platform/standard_preferences.h"

namespace ostrel {

int runApplicationEntry(int argc, char** argv) {
    // The same key the configuration reads; it is fixed for the life of the process.
    if (openStandardPreferences()->boolean("headlessMode")) return runApplication();
    if (!graphicalSessionAvailable()) {
        return runApplication({.makeUserInterface = [](AppDelegate&) {
            return tl::expected<std::unique_ptr<UserInterface>, std::string>(
                tl::unexpect, "no display available");
        }});
    }

    QApplication application(argc, argv);
    // The tray application has no main window; closing the last window must not end it.
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationName(QStringLiteral("Ostrel"));
    QApplication::setDesktopFileName(QStringLiteral("ostrel"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/ostrel.svg")));
    return runApplication({
        .mainQueue = std::make_unique<QtMainQueue>(),
        .run = [] { QApplication::exec(); },
        .quit = [] { QApplication::quit(); },
        .makeUserInterface = TrayItem::create,
    });
}

}  // namespace ostrel
