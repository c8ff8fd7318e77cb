#include "gui/dashboard/charts/process_analysis_charts.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "dashboard/process_selection.h"
#include "gui/dashboard/charts/chart_card.h"
#include "gui/dashboard/charts/multi_series_line_chart_view.h"
#include "gui/dashboard/charts/simple_chart_view.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/icons/symbol_icons.h"

namespace ostrel {
namespace {

constexpr int kColumns = 2;

QString qt(const std::string& text) {
    return QString::fromStdString(text);
}

// The chart's series as the model shows them: the CPU normalised when the option is on.
ChartSeries shownSeries(const DashboardViewModel& model, ChartSeries ProcessSeries::*series) {
    if (series == &ProcessSeries::cpu) return model.processSearchCPUData();
    return model.zoomFilteredProcessData().*series;
}

DashboardChartView* makeChart(const ProcessChartDefinition& definition,
                              const DashboardViewModel& model) {
    if (definition.kind == ChartKind::simple) {
        const SeriesDefinition<ProcessSeries>& one = definition.series.front();
        auto* chart = new SimpleChartView(definition.identifier, {.color = one.color});
        chart->setData(shownSeries(model, one.series));
        return chart;
    }
    auto* chart = new MultiSeriesLineChartView(definition.identifier);
    std::vector<ChartSeries> series;
    std::vector<std::string> labels;
    std::vector<DashboardColor> colors;
    for (const SeriesDefinition<ProcessSeries>& one : definition.series) {
        series.push_back(shownSeries(model, one.series));
        labels.push_back(one.label);
        colors.push_back(one.color);
    }
    chart->setSeriesData(std::move(series), std::move(labels), std::move(colors));
    return chart;
}

}  // namespace

ProcessAnalysisCharts::ProcessAnalysisCharts(DashboardViewModel& model, QWidget* parent)
    : DashboardSection(model, parent),
      binding_(model, this),
      icon_(new QLabel),
      title_(new QLabel),
      range_(new QLabel),
      count_(new QLabel),
      grid_(new QGridLayout) {
    QFont bold = title_->font();
    bold.setBold(true);
    title_->setFont(bold);
    auto* header = new QHBoxLayout;
    header->setSpacing(8);
    for (QLabel* label : {icon_, title_, range_, count_})
        header->addWidget(label);
    header->addStretch(1);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addLayout(header);
    grid_->setSpacing(12);
    layout->addLayout(grid_);

    refresh_.watch(model_.objectWillChange);
    refresh_.watch(model_.selectedProcess);
    refresh_.watch(model_.normalizeCPU);
    refresh();
}

QString ProcessAnalysisCharts::headerText() const {
    return QStringList{title_->text(), range_->text(), count_->text()}.join(QStringLiteral("  "));
}

void ProcessAnalysisCharts::refresh() {
    const ProcessAnalysisSection section =
        processAnalysisSection(model_.selectedProcess.get(), model_.processSearchData(),
                               model_.processSearchCPUData(), model_.clock().now());
    setVisible(section.isShown);
    applyPalette();
    for (ChartCard* card : cards_)
        delete card;
    cards_.clear();
    if (!section.isShown) return;

    title_->setText(qt(section.title));
    range_->setText(qt(section.dataRange));
    count_->setText(qt(section.sampleCount));
    for (const ProcessChartDefinition& definition : section.charts) {
        DashboardChartView* chart = makeChart(definition, model_);
        auto* card = new ChartCard(qt(definition.title), qt(definition.helpText), chart,
                                   static_cast<int>(definition.height), this);
        binding_.bind(chart);
        const int cell = static_cast<int>(cards_.size());
        grid_->addWidget(card, cell / kColumns, cell % kColumns);
        cards_.push_back(card);
    }
}

void ProcessAnalysisCharts::applyPalette() {
    icon_->setPixmap(
        symbolIcon("chart.line.uptrend.xyaxis", resolvedColor(DashboardColor::purple, palette()))
            .pixmap(16));
    const QColor secondary = resolvedColor(DashboardColor::secondary, palette());
    for (QLabel* label : {range_, count_}) {
        QPalette colors = label->palette();
        colors.setColor(QPalette::WindowText, secondary);
        label->setPalette(colors);
    }
}

}  // namespace ostrel
