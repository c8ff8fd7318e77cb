#include "gui/dashboard/dashboard_content.h"

#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "dashboard/dashboard_figures.h"
#include "dashboard/dashboard_summaries.h"
#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/alerts/alert_history_view.h"
#include "gui/dashboard/analysis/analytics_section.h"
#include "gui/dashboard/analysis/process_selection_bar.h"
#include "gui/dashboard/charts/dashboard_charts_section.h"
#include "gui/dashboard/charts/process_analysis_charts.h"
#include "gui/dashboard/dashboard_widgets.h"
#include "gui/dashboard/hero_stat_view.h"
#include "gui/dashboard/summary_card_views.h"

namespace ostrel {

namespace {

constexpr double kDimmedOpacity = 0.45;

}  // namespace

DashboardContent::DashboardContent(DashboardViewModel& model, QWidget* parent)
    : QWidget(parent), model_(model), refresh_(this, [this] { refresh(); }) {
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(16, 12, 16, 16);
    outer->setSpacing(8);
    zoomRebuildNote_ =
        DashboardWidgets::label("Rebuilding zoom data...", DashboardColor::secondary);
    // Its place is kept, so that the content does not jump while a zoom rebuilds.
    QSizePolicy keepsPlace = zoomRebuildNote_->sizePolicy();
    keepsPlace.setRetainSizeWhenHidden(true);
    zoomRebuildNote_->setSizePolicy(keepsPlace);
    outer->addWidget(zoomRebuildNote_);

    body_ = new QWidget;
    auto* column = new QVBoxLayout(body_);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(14);
    auto* heroStrip = new QHBoxLayout;
    heroStrip->setSpacing(12);
    for (auto& hero : heroes_) {
        hero = new HeroStatView;
        heroStrip->addWidget(hero, 1);
    }
    column->addLayout(heroStrip);
    auto* summaryRow = new QHBoxLayout;
    summaryRow->setSpacing(12);
    for (auto& summary : summaries_) {
        summary = new SummaryStatCardView;
        summaryRow->addWidget(summary, 1);
    }
    topConsumer_ = new TopConsumerCardView;
    summaryRow->addWidget(topConsumer_, 1);
    column->addLayout(summaryRow);
    addSections(column);
    column->addStretch(1);
    outer->addWidget(body_, 1);

    // Only while rebuilding: an effect renders its widget offscreen first, which costs.
    dimming_ = new QGraphicsOpacityEffect(body_);
    dimming_->setOpacity(kDimmedOpacity);
    dimming_->setEnabled(false);
    body_->setGraphicsEffect(dimming_);

    refresh_.watch(model_.objectWillChange);
    refresh_.watch(model_.isRebuilding);
    refresh_.watch(model_.isZoomRebuilding);
    refresh_.watch(model_.sourceTimezone);
    refresh();
}

void DashboardContent::addSections(QVBoxLayout* column) {
    // The sections, in order, each built over the model:
    //   charts:            DashboardChartsSection
    //   process analysis:  ProcessSelectionBar, then ProcessAnalysisCharts
    column->addWidget(new DashboardChartsSection(model_));
    column->addWidget(new ProcessSelectionBar(model_));
    column->addWidget(new ProcessAnalysisCharts(model_));
    column->addWidget(new AnalyticsSection(model_));
    column->addWidget(new AlertHistoryView(model_));
}

void DashboardContent::refresh() {
    const DashboardFigures figures = DashboardFigures::of(model_);
    const auto heroes = heroStats(figures);
    for (size_t i = 0; i < heroes.size(); ++i)
        heroes_[i]->display(heroes[i]);
    const auto summaries = summaryCards(figures);
    for (size_t i = 0; i < summaries.size(); ++i)
        summaries_[i]->display(summaries[i]);
    const auto top = topConsumerCard(figures);
    topConsumer_->setVisible(top.has_value());
    if (top) topConsumer_->display(*top);

    const bool rebuilding = model_.isRebuilding.get();
    dimming_->setEnabled(rebuilding);
    body_->setEnabled(!rebuilding);
    zoomRebuildNote_->setVisible(model_.isZoomRebuilding.get());
}

void DashboardContent::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) refresh_.schedule();
}

}  // namespace ostrel
