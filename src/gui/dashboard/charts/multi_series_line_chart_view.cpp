#include "gui/dashboard/charts/multi_series_line_chart_view.h"

#include <QLineSeries>

#include "gui/dashboard/charts/chart_series_points.h"
#include "gui/dashboard/dashboard_palette.h"

namespace ostrel {

void MultiSeriesLineChartView::setSeriesData(std::vector<ChartSeries> seriesData,
                                             std::vector<std::string> seriesLabels,
                                             std::vector<DashboardColor> seriesColors,
                                             std::optional<ValueRange> yDomain) {
    seriesData_ = std::move(seriesData);
    seriesLabels_ = std::move(seriesLabels);
    seriesColors_ = std::move(seriesColors);
    yDomain_ = yDomain;
    showData(seriesData_);
}

void MultiSeriesLineChartView::rebuildSeries() {
    chart()->removeAllSeries();
    for (size_t i = 0; i < seriesData_.size(); ++i) {
        auto* line = new QLineSeries;
        line->replace(linePoints(seriesData_[i]));
        if (i < seriesLabels_.size()) line->setName(QString::fromStdString(seriesLabels_[i]));
        const DashboardColor color =
            i < seriesColors_.size() ? seriesColors_[i] : DashboardColor::primary;
        line->setPen(QPen(resolvedColor(color, palette()), 1.5));
        attach(line);
    }
    chart()->legend()->setVisible(seriesData_.size() > 1);
    setYRange(yDomain_, seriesData_);
}

std::optional<TooltipContent> MultiSeriesLineChartView::tooltipAt(Date date, bool isLinked) const {
    const auto tooltip =
        lineTooltip(seriesData_, seriesLabels_, seriesColors_, date, sourceTimezone(), isLinked);
    if (!tooltip) return std::nullopt;
    return tooltipContent(*tooltip, palette());
}

}  // namespace ostrel
