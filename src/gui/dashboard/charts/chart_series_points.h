#pragma once

#include <QList>
#include <QPointF>

#include "dashboard/chart_point.h"

namespace ostrel {

// A series as the chart's x (seconds since 1970) and y values.
QList<QPointF> linePoints(const ChartSeries& series);

// Two series on the union of their dates, each read between its points along its line, so
// that one can be stacked on the other without a gap: the series are reduced each on its own
// and rarely keep the same moments.
struct StackedPoints {
    QList<QPointF> lower;  // the first series
    QList<QPointF> upper;  // the first plus the second
};
StackedPoints stackedPoints(const ChartSeries& first, const ChartSeries& second);

}  // namespace ostrel
