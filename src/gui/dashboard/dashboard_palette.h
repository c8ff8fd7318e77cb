#pragma once

#include <QColor>
#include <QPalette>

#include "dashboard/dashboard_color.h"

class QWidget;

namespace ostrel {

// A dashboard colour on the desktop's palette: the same system hues as the popup, in their light
// or dark variant; the accent is the palette's highlight.
QColor resolvedColor(DashboardColor color, const QPalette& palette);

// The widget's palette in its active colours, whatever its state: while the model rebuilds, the
// window dims its content as a whole, and a view that takes its colours then must not take the
// disabled ones for good.
QPalette activeColours(const QWidget* widget);
// `color` on the widget's palette in its active colours.
QColor resolvedColor(DashboardColor color, const QWidget* widget);

}  // namespace ostrel
