#include "gui/dashboard/charts/dashboard_charts_section.h"

#include <QGridLayout>

#include "gui/dashboard/charts/chart_card.h"
#include "gui/dashboard/charts/cpu_stacked_chart_view.h"
#include "gui/dashboard/charts/multi_series_line_chart_view.h"
#include "gui/dashboard/charts/simple_chart_view.h"
#include "gui/dashboard/charts/step_chart_view.h"
#include "gui/settings/qt_text.h"

namespace ostrel {
namespace {

constexpr int kColumns = 2;

DashboardChartView* makeChart(const ChartDefinition& definition) {
    switch (definition.kind) {
        case ChartKind::cpuStacked:
            return new CPUStackedChartView(definition.identifier);
        case ChartKind::multiSeriesLine:
            return new MultiSeriesLineChartView(definition.identifier);
        case ChartKind::step:
            return new StepChartView(definition.identifier);
        case ChartKind::simple:
            return new SimpleChartView(
                definition.identifier,
                {definition.lineColor, definition.showArea, {}, definition.unitLabel});
    }
    return nullptr;
}

void showSeries(DashboardChartView& chart, const ChartDefinition& definition,
                const DashboardViewModel& model) {
    const SystemSeries& shown = model.zoomFilteredSeries();
    const auto& latest = model.latestMetrics();
    const auto yDomain =
        yDomainFor(definition, shown, latest ? latest->totalMemoryMB : std::nullopt);
    switch (definition.kind) {
        case ChartKind::cpuStacked:
            static_cast<CPUStackedChartView&>(chart).setData(shown.*definition.series[0].series,
                                                             shown.*definition.series[1].series,
                                                             model.normalizeCPU.get());
            return;
        case ChartKind::multiSeriesLine: {
            std::vector<ChartSeries> series;
            std::vector<std::string> labels;
            std::vector<DashboardColor> colors;
            for (const ChartSeriesDefinition& one : definition.series) {
                series.push_back(shown.*one.series);
                labels.push_back(one.label);
                colors.push_back(one.color);
            }
            static_cast<MultiSeriesLineChartView&>(chart).setSeriesData(
                std::move(series), std::move(labels), std::move(colors), yDomain);
            return;
        }
        case ChartKind::step:
            static_cast<StepChartView&>(chart).setData(shown.*definition.series[0].series,
                                                       definition.zones, definition.yDomain,
                                                       definition.lineColor);
            return;
        case ChartKind::simple:
            static_cast<SimpleChartView&>(chart).setData(shown.*definition.series[0].series,
                                                         yDomain);
            return;
    }
}

}  // namespace

DashboardChartsSection::DashboardChartsSection(DashboardViewModel& model, QWidget* parent)
    : DashboardSection(model, parent), binding_(model, this) {
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(12);
    int cell = 0;
    for (const ChartDefinition& definition : dashboardCharts()) {
        DashboardChartView* chart = makeChart(definition);
        auto* card = new ChartCard(qtText(definition.title), qtText(definition.helpText), chart,
                                   kChartHeight, this);
        binding_.bind(chart);
        cards_.push_back(card);
        // The CPU chart, with the processes of each moment, has the whole first row.
        if (definition.kind == ChartKind::cpuStacked) {
            grid->addWidget(card, cell / kColumns, 0, 1, kColumns);
            cell += kColumns;
        } else {
            grid->addWidget(card, cell / kColumns, cell % kColumns);
            ++cell;
        }
    }
    for (int column = 0; column < kColumns; ++column)
        grid->setColumnStretch(column, 1);

    refresh_.watch(model_.objectWillChange);
    refresh_.watch(model_.normalizeCPU);
    refresh();
}

void DashboardChartsSection::refresh() {
    const auto& definitions = dashboardCharts();
    for (size_t i = 0; i < definitions.size(); ++i) {
        showSeries(*cards_[i]->chart(), definitions[i], model_);
        cards_[i]->setSubtitle(qtText(chartSubtitle(definitions[i], model_.cached())));
    }
}

}  // namespace ostrel
