#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QRectF>
#include <QString>
#include <vector>

#include "dashboard/cpu_tooltip.h"
#include "dashboard/line_tooltip.h"
#include "dashboard/point_tooltip.h"

class QPainter;

namespace ostrel {

struct TooltipCell {
    QString text;
    QColor color;
    bool bold = false;
};
using TooltipRow = std::vector<TooltipCell>;

// A chart tooltip as drawn: the time, then sections whose rows line up in columns (the series'
// values, a process list). The core decides every text and colour; this only lays them out.
struct TooltipContent {
    QString time;
    std::vector<std::vector<TooltipRow>> sections;
    bool isLinked = false;  // shows another chart's pin: carries the pin sign
    bool closable = false;  // the pin's own chart: carries the close button
};

TooltipContent tooltipContent(const CPUTooltip& tooltip, const QPalette& palette);
TooltipContent tooltipContent(const LineTooltip& tooltip, const QPalette& palette);
TooltipContent tooltipContent(const PointTooltip& tooltip, const QPalette& palette);

// Where a tooltip goes: beside the vertical line at `anchorX`, on its right unless it would
// leave `bounds`, from `top` down; and its columns.
struct TooltipLayout {
    QRectF frame;
    double lineHeight = 0;
    std::vector<std::vector<double>> columnWidths;  // by section
};
TooltipLayout layoutTooltip(const QFont& font, const TooltipContent& content, double anchorX,
                            double top, const QRectF& bounds);

// Draws it in the painter's font, the one it was laid out with; returns where its close button
// went (empty without one).
QRectF paintTooltip(QPainter& painter, const TooltipContent& content, const TooltipLayout& layout,
                    const QPalette& palette);

}  // namespace ostrel
