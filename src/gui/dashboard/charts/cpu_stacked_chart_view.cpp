#include "gui/dashboard/charts/cpu_stacked_chart_view.h"

#include <QAreaSeries>
#include <QLineSeries>

#include "gui/dashboard/charts/chart_series_points.h"
#include "gui/dashboard/dashboard_palette.h"

namespace ostrel {
namespace {

constexpr double kAreaOpacity = 0.55;
constexpr ValueRange kPercent{0, 100};

QAreaSeries* area(const QString& name, QList<QPointF> upper, const QList<QPointF>* lower,
                  const QColor& color) {
    auto* top = new QLineSeries;
    top->replace(std::move(upper));
    QLineSeries* bottom = nullptr;
    if (lower) {
        bottom = new QLineSeries;
        bottom->replace(*lower);
    }
    auto* series = new QAreaSeries(top, bottom);
    series->setName(name);
    QColor fill = color;
    fill.setAlphaF(kAreaOpacity);
    series->setBrush(fill);
    series->setPen(QPen(color, 1.2));
    return series;
}

}  // namespace

void CPUStackedChartView::setData(ChartSeries userData, ChartSeries systemData, bool normalizeCPU) {
    data_ = {std::move(userData), std::move(systemData)};
    normalizeCPU_ = normalizeCPU;
    showData(data_);
}

void CPUStackedChartView::rebuildSeries() {
    chart()->removeAllSeries();
    const StackedPoints stacked = stackedPoints(data_[kUser], data_[kSystem]);
    attach(area(QStringLiteral("User"), stacked.lower, nullptr,
                resolvedColor(DashboardColor::orange, palette())));
    attach(area(QStringLiteral("System"), stacked.upper, &stacked.lower,
                resolvedColor(DashboardColor::red, palette())));
    chart()->legend()->setVisible(true);
    setYUnit(QStringLiteral("%"));
    setYRange(kPercent, {});
}

std::optional<TooltipContent> CPUStackedChartView::tooltipAt(Date date, bool isLinked) const {
    const auto tooltip =
        cpuTooltip(data_[kUser], data_[kSystem], date, normalizeCPU_, sourceTimezone(), isLinked);
    if (!tooltip) return std::nullopt;
    return tooltipContent(*tooltip, palette());
}

}  // namespace ostrel
