#include "gui/test_application.h"

#include <QApplication>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>

namespace ostrel::testing {

void startTestApplication() {
    static int argc = 1;
    static char name[] = "ostrel-gui-test";
    static char* argv[] = {name, nullptr};
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // Never destroyed: at exit Qt's own globals may already be gone, and an application torn
    // down after them crashes.
    static auto* application = new QApplication(argc, argv);
    (void)application;
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
}

void useTestPalette(bool dark) {
    QPalette palette = QApplication::style()->standardPalette();
    if (dark) {
        palette.setColor(QPalette::Window, QColor(40, 40, 42));
        palette.setColor(QPalette::WindowText, QColor(235, 235, 240));
        palette.setColor(QPalette::Base, QColor(30, 30, 32));
        palette.setColor(QPalette::AlternateBase, QColor(50, 50, 54));
        palette.setColor(QPalette::Text, QColor(235, 235, 240));
        palette.setColor(QPalette::Button, QColor(58, 58, 62));
        palette.setColor(QPalette::ButtonText, QColor(235, 235, 240));
        palette.setColor(QPalette::PlaceholderText, QColor(150, 150, 155));
        palette.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(120, 120, 125));
        palette.setColor(QPalette::Disabled, QPalette::WindowText, QColor(120, 120, 125));
        palette.setColor(QPalette::Disabled, QPalette::Text, QColor(120, 120, 125));
    }
    QApplication::setPalette(palette);
}

}  // namespace ostrel::testing
