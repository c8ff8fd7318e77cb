#include "gui/dashboard/dashboard_widgets.h"

#include "gui/dashboard/dashboard_palette.h"
#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel::DashboardWidgets {

QLabel* label(std::string_view text, DashboardColor color, double scale, bool bold) {
    auto* result = new QLabel(qtText(text));
    QFont font = result->font();
    if (scale != 1.0) font.setPointSizeF(font.pointSizeF() * scale);
    font.setBold(bold);
    result->setFont(font);
    setColor(result, color);
    return result;
}

void setColor(QLabel* label, DashboardColor color) {
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, resolvedColor(color, palette));
    label->setPalette(palette);
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
