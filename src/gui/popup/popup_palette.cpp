#include "gui/popup/popup_palette.h"

namespace ostrel {
namespace {

// The system hues, light variant first: the ones the design names.
struct Hue {
    QColor light;
    QColor dark;
};

Hue hue(PopupColor color) {
    switch (color) {
        case PopupColor::green:
            return {QColor(52, 199, 89), QColor(48, 209, 88)};
        case PopupColor::dynamicGreen:
            // A darker green on light backgrounds, where the system's would be hard to read.
            return {QColor::fromRgbF(0.1f, 0.55f, 0.1f), QColor(48, 209, 88)};
        case PopupColor::yellow:
            return {QColor(214, 160, 0), QColor(255, 214, 10)};
        case PopupColor::red:
            return {QColor(255, 59, 48), QColor(255, 69, 58)};
        case PopupColor::blue:
            return {QColor(0, 122, 255), QColor(10, 132, 255)};
        case PopupColor::purple:
            return {QColor(175, 82, 222), QColor(191, 90, 242)};
        case PopupColor::orange:
            return {QColor(255, 149, 0), QColor(255, 159, 10)};
        case PopupColor::cyan:
            return {QColor(50, 173, 230), QColor(100, 210, 255)};
        case PopupColor::dimmedGrey:
            return {QColor(142, 142, 147, 128), QColor(142, 142, 147, 128)};
        default:
            return {};
    }
}

}  // namespace

bool isDarkPalette(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

QColor resolvedColor(PopupColor color, const QPalette& palette) {
    switch (color) {
        case PopupColor::primary:
            return palette.color(QPalette::WindowText);
        case PopupColor::secondary: {
            QColor text = palette.color(QPalette::WindowText);
            text.setAlphaF(0.6f);
            return text;
        }
        case PopupColor::clear:
            return Qt::transparent;
        default: {
            const Hue shades = hue(color);
            return isDarkPalette(palette) ? shades.dark : shades.light;
        }
    }
}

}  // namespace ostrel
