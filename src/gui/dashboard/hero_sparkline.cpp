#include "gui/dashboard/hero_sparkline.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>

#include "gui/dashboard/dashboard_palette.h"

namespace ostrel {

HeroSparkline::HeroSparkline(QWidget* parent) : QWidget(parent) {
    setMinimumSize(80, 28);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void HeroSparkline::display(std::vector<double> values, DashboardColor color) {
    data_ = std::move(values);
    color_ = color;
    update();
}

void HeroSparkline::paintEvent(QPaintEvent*) {
    if (data_.size() < 2) return;
    const auto [low, high] = std::ranges::minmax(data_);
    // A flat series sits in the middle rather than on an edge.
    const double span = high > low ? high - low : 1.0;
    const QRectF area = QRectF(rect()).adjusted(1, 2, -1, -2);
    const double step = area.width() / double(data_.size() - 1);
    QPainterPath line;
    for (size_t i = 0; i < data_.size(); ++i) {
        const double fraction = high > low ? (data_[i] - low) / span : 0.5;
        const QPointF point(area.left() + step * double(i),
                            area.bottom() - fraction * area.height());
        if (i == 0)
            line.moveTo(point);
        else
            line.lineTo(point);
    }
    QPainterPath fill = line;
    fill.lineTo(area.right(), area.bottom());
    fill.lineTo(area.left(), area.bottom());
    fill.closeSubpath();

    const QColor color = resolvedColor(color_, palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor faint = color;
    faint.setAlphaF(0.15);
    painter.fillPath(fill, faint);
    painter.setPen(QPen(color, 1.5));
    painter.drawPath(line);
}

}  // namespace ostrel
