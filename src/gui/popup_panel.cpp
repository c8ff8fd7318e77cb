#include "gui/popup_panel.h"

#include <QGuiApplication>
#include <QScreen>

namespace ostrel {

PopupPanel::PopupPanel() : QWidget(nullptr, Qt::Popup) {
    setFixedSize(kWidth, kHeight);
    setAttribute(Qt::WA_DeleteOnClose, false);
}

void PopupPanel::showBelow(const QRect& anchor) {
    const QScreen* screen = QGuiApplication::screenAt(anchor.center());
    if (!screen) screen = QGuiApplication::primaryScreen();
    const QRect area = screen ? screen->availableGeometry() : QRect(0, 0, kWidth, kHeight);

    QPoint origin(anchor.center().x() - kWidth / 2, anchor.bottom() + 1);
    // A panel at the bottom of the screen has its tray there too: open upwards.
    if (origin.y() + kHeight > area.bottom()) origin.setY(anchor.top() - kHeight);
    origin.setX(std::clamp(origin.x(), area.left(), std::max(area.left(), area.right() - kWidth)));
    origin.setY(std::clamp(origin.y(), area.top(), std::max(area.top(), area.bottom() - kHeight)));
    move(origin);
    show();
    raise();
    activateWindow();
}

void PopupPanel::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    emit closed();
}

}  // namespace ostrel
