#include "gui/dashboard/dashboard_widgets.h"

#include <QApplication>
#include <QEvent>

#include "gui/dashboard/dashboard_palette.h"
#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel::DashboardWidgets {

ColorLabel::ColorLabel(DashboardColor color) : color_(color) {
    apply();
}

void ColorLabel::setColor(DashboardColor color) {
    color_ = color;
    apply();
}

void ColorLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    const bool newPalette = event->type() == QEvent::PaletteChange && !applying_;
    if (newPalette || event->type() == QEvent::ParentChange) apply();
}

void ColorLabel::apply() {
    // Setting the palette sends a change of its own.
    applying_ = true;
    // Resolved on the surroundings' palette: the label's own still holds the colour it had.
    const QPalette around =
        parentWidget() ? activeColours(parentWidget()) : QApplication::palette();
    QPalette shown = palette();
    shown.setColor(QPalette::WindowText, resolvedColor(color_, around));
    setPalette(shown);
    applying_ = false;
}

ColorLabel* label(std::string_view text, DashboardColor color, double scale, bool bold) {
    auto* result = new ColorLabel(color);
    result->setText(qtText(text));
    QFont font = result->font();
    if (scale != 1.0) font.setPointSizeF(font.pointSizeF() * scale);
    font.setBold(bold);
    result->setFont(font);
    return result;
}

QLabel* symbol(std::string_view name, DashboardColor color, int size) {
    auto* result = new QLabel;
    result->setPixmap(symbolIcon(name, resolvedColor(color, result->palette())).pixmap(size, size));
    result->setFixedSize(size, size);
    return result;
}

void styleAsCard(QFrame* frame) {
    frame->setObjectName(QStringLiteral("dashboardCard"));
    // Drawn from the palette, so that it follows light and dark.
    frame->setStyleSheet(
        QStringLiteral("#dashboardCard { background: palette(alternate-base); "
                       "border: 1px solid palette(midlight); border-radius: 8px; }"));
}

}  // namespace ostrel::DashboardWidgets
