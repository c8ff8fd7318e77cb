#pragma once

#include <QColor>
#include <QPalette>

#include "dashboard/dashboard_color.h"

namespace ostrel {

// A dashboard colour on the desktop's palette: the same system hues as the popup, in their light
// or dark variant; the accent is the palette's highlight.
QColor resolvedColor(DashboardColor color, const QPalette& palette);

}  // namespace ostrel
