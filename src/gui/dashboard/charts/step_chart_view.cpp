#include "gui/dashboard/charts/step_chart_view.h"

#include <QAreaSeries>
#include <QLineSeries>
#include <QScatterSeries>
#include <map>

#include "gui/dashboard/charts/chart_time_axis.h"
#include "gui/dashboard/dashboard_palette.h"

namespace ostrel {
namespace {

constexpr double kBandOpacity = 0.12;
constexpr double kPointSize = 5;

}  // namespace

void StepChartView::setData(ChartSeries series, std::vector<ChartZone> zones, ValueRange yDomain,
                            DashboardColor lineColor) {
    data_ = std::move(series);
    zones_ = std::move(zones);
    yDomain_ = yDomain;
    lineColor_ = lineColor;
    showData({&data_, 1});
}

void StepChartView::rebuildSeries() {
    chart()->removeAllSeries();
    chart()->legend()->setVisible(false);
    setYRange(yDomain_, {});
    if (data_.empty()) return;
    const double start = axisValue(data_.front().date);
    const double end = std::max(axisValue(data_.back().date), start + 1);

    for (const ChartZone& zone : zones_) {
        auto* top = new QLineSeries;
        top->append({QPointF(start, zone.upper), QPointF(end, zone.upper)});
        auto* bottom = new QLineSeries;
        bottom->append({QPointF(start, zone.lower), QPointF(end, zone.lower)});
        auto* band = new QAreaSeries(top, bottom);
        QColor color = resolvedColor(zone.color, palette());
        color.setAlphaF(kBandOpacity);
        band->setBrush(color);
        band->setPen(Qt::NoPen);
        attach(band, false);
    }

    // Each level holds until the next point.
    auto* line = new QLineSeries;
    QList<QPointF> steps;
    std::map<DashboardColor, QList<QPointF>> pointsByColor;
    for (size_t i = 0; i < data_.size(); ++i) {
        const double x = axisValue(data_[i].date);
        if (i > 0) steps.append(QPointF(x, data_[i - 1].value));
        steps.append(QPointF(x, data_[i].value));
        pointsByColor[StepChart::pointColor(zones_, data_[i].value)].append(
            QPointF(x, data_[i].value));
    }
    line->replace(steps);
    line->setPen(QPen(resolvedColor(lineColor_, palette()), 1.5));
    attach(line, false);
    for (const auto& [color, points] : pointsByColor) {
        auto* scatter = new QScatterSeries;
        scatter->setMarkerSize(kPointSize);
        scatter->setColor(resolvedColor(color, palette()));
        scatter->setBorderColor(Qt::transparent);
        scatter->replace(points);
        attach(scatter, false);
    }
}

std::optional<TooltipContent> StepChartView::tooltipAt(Date date, bool isLinked) const {
    const auto tooltip = stepTooltip(data_, zones_, date, sourceTimezone(), isLinked);
    if (!tooltip) return std::nullopt;
    return tooltipContent(*tooltip, palette());
}

}  // namespace ostrel
