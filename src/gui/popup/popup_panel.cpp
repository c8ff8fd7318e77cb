#include "gui/popup/popup_panel.h"

#include <QGuiApplication>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>

#include "gui/popup/popup_view.h"

namespace ostrel {

PopupPanel::PopupPanel(ModelFactory makeModel)
    : QWidget(nullptr, Qt::Popup), makeModel_(std::move(makeModel)) {
    setFixedSize(kWidth, kHeight);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    scroll_ = new QScrollArea;
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_->setWidgetResizable(true);
    layout->addWidget(scroll_);
}

PopupPanel::~PopupPanel() {
    dropContent();
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

void PopupPanel::showEvent(QShowEvent* event) {
    buildContent();
    QWidget::showEvent(event);
}

void PopupPanel::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    dropContent();
    emit closed();
}

void PopupPanel::buildContent() {
    if (view_) return;
    view_ = new PopupView(makeModel_());
    scroll_->setWidget(view_);
}

void PopupPanel::dropContent() {
    if (!view_) return;
    // Later: the click that closed the popup may still be running in one of its buttons.
    scroll_->takeWidget();
    view_->hide();
    view_->deleteLater();
    view_ = nullptr;
}

}  // namespace ostrel
