// The desktop module's one entry: the Qt application, its event loop as the main queue, and
// the tray item as the user interface of the application that the executable runs.
#include <QApplication>
#include <QIcon>

#include "app/application.h"
#include "app/desktop_module.h"
#include "gui/qt_main_queue.h"
#include "gui/tray/tray_item.h"

extern "C" __attribute__((visibility("default"))) int ostrel_gui_main(int argc, char** argv) {
    using namespace ostrel;
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

// The executable resolves the entry by name; the type is checked here, once.
static_assert(std::is_same_v<decltype(&ostrel_gui_main), ostrel::DesktopModuleMain>);
