#include "gui/dashboard/charts/simple_chart_view.h"

#include <QAreaSeries>
#include <QLineSeries>

#include "gui/dashboard/charts/chart_series_points.h"
#include "gui/dashboard/dashboard_palette.h"

namespace ostrel {
namespace {

constexpr double kAreaOpacity = 0.25;

}  // namespace

SimpleChartView::SimpleChartView(std::string identifier, SimpleChartStyle style, QWidget* parent)
    : DashboardChartView(std::move(identifier), parent), style_(std::move(style)) {
    setYUnit(QString::fromStdString(style_.unitLabel));
}

void SimpleChartView::setData(ChartSeries series, std::optional<ValueRange> yDomain) {
    data_ = std::move(series);
    yDomain_ = yDomain;
    showData({&data_, 1});
}

void SimpleChartView::rebuildSeries() {
    chart()->removeAllSeries();
    chart()->legend()->setVisible(false);
    const QColor color = resolvedColor(style_.color, palette());
    auto* line = new QLineSeries;
    line->replace(linePoints(data_));
    line->setPen(QPen(color, 1.5));
    if (style_.showArea) {
        auto* area = new QAreaSeries(line);
        QColor fill = color;
        fill.setAlphaF(kAreaOpacity);
        area->setBrush(fill);
        area->setPen(QPen(color, 1.5));
        attach(area, false);
    } else {
        attach(line, false);
    }
    setYRange(yDomain_, {&data_, 1});
}

std::optional<TooltipContent> SimpleChartView::tooltipAt(Date date, bool isLinked) const {
    const auto tooltip = simpleTooltip(data_, style_.color, style_.valueFormatter, style_.unitLabel,
                                       date, sourceTimezone(), isLinked);
    if (!tooltip) return std::nullopt;
    return tooltipContent(*tooltip, palette());
}

}  // namespace ostrel
