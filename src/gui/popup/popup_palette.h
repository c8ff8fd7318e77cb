#pragma once

#include <QColor>
#include <QPalette>

#include "popup/popup_content.h"

namespace ostrel {

// Whether `palette` is a dark one: its window is darker than its text.
bool isDarkPalette(const QPalette& palette);

// A popup colour on the desktop's palette: the system's hues in their light or dark variant,
// text and secondary text from the palette itself.
QColor resolvedColor(PopupColor color, const QPalette& palette);

}  // namespace ostrel
