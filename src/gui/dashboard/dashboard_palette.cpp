#include "gui/dashboard/dashboard_palette.h"

#include <QWidget>

#include "gui/popup/popup_palette.h"

namespace ostrel {

QColor resolvedColor(DashboardColor color, const QPalette& palette) {
    switch (color) {
        case DashboardColor::primary:
            return resolvedColor(PopupColor::primary, palette);
        case DashboardColor::secondary:
            return resolvedColor(PopupColor::secondary, palette);
        case DashboardColor::accent:
            return palette.color(QPalette::Highlight);
        case DashboardColor::gray:
            return isDarkPalette(palette) ? QColor(152, 152, 157) : QColor(142, 142, 147);
        case DashboardColor::green:
            return resolvedColor(PopupColor::green, palette);
        case DashboardColor::yellow:
            return resolvedColor(PopupColor::yellow, palette);
        case DashboardColor::orange:
            return resolvedColor(PopupColor::orange, palette);
        case DashboardColor::red:
            return resolvedColor(PopupColor::red, palette);
        case DashboardColor::blue:
            return resolvedColor(PopupColor::blue, palette);
        case DashboardColor::purple:
            return resolvedColor(PopupColor::purple, palette);
        case DashboardColor::cyan:
            return resolvedColor(PopupColor::cyan, palette);
    }
    return resolvedColor(PopupColor::primary, palette);
}

QPalette activeColours(const QWidget* widget) {
    QPalette palette = widget->palette();
    palette.setCurrentColorGroup(QPalette::Active);
    return palette;
}

QColor resolvedColor(DashboardColor color, const QWidget* widget) {
    return resolvedColor(color, activeColours(widget));
}

}  // namespace ostrel
