#include "gui/dashboard/charts/chart_model_binding.h"

#include <QTimer>

namespace ostrel {

ChartModelBinding::ChartModelBinding(DashboardViewModel& model, QObject* context)
    : model_(model), context_(context) {
    pinnedDate_ = model_.pinnedDate.subscribe([this](const auto&) { scheduleRefresh(); });
    pinnedChartID_ = model_.pinnedChartID.subscribe([this](const auto&) { scheduleRefresh(); });
    zone_ = model_.sourceTimezone.subscribe([this](const auto&) { scheduleRefresh(); });
}

void ChartModelBinding::bind(DashboardChartView* chart) {
    DashboardViewModel& model = model_;
    chart->setActions(
        {.onZoomSelection = [&model](Date from, Date to) { model.setZoom(from, to); },
         .onPinDate = [&model, identifier = chart->identifier()](
                          const auto& date) { model.setPinnedDate(date, identifier); }});
    std::erase_if(charts_, [](const auto& bound) { return bound.isNull(); });
    charts_.emplace_back(chart);
    chart->setSourceTimezone(model_.sourceTimezone.get());
    chart->setPin(model_.pinnedDate.get(),
                  isPinOrigin(model_.pinnedChartID.get(), chart->identifier()));
}

void ChartModelBinding::scheduleRefresh() {
    if (refreshPending_) return;
    refreshPending_ = true;
    QTimer::singleShot(0, context_, [this] {
        refreshPending_ = false;
        refresh();
    });
}

void ChartModelBinding::refresh() {
    for (const QPointer<DashboardChartView>& chart : charts_) {
        if (!chart) continue;
        chart->setSourceTimezone(model_.sourceTimezone.get());
        chart->setPin(model_.pinnedDate.get(),
                      isPinOrigin(model_.pinnedChartID.get(), chart->identifier()));
    }
}

}  // namespace ostrel
