#include "gui/dashboard/charts/chart_model_binding.h"

namespace ostrel {

ChartModelBinding::ChartModelBinding(DashboardViewModel& model, QObject* context)
    : model_(model), refresh_(context, [this] { refresh(); }) {
    refresh_.watch(model_.pinnedDate);
    refresh_.watch(model_.pinnedChartID);
    refresh_.watch(model_.sourceTimezone);
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

void ChartModelBinding::refresh() {
    for (const QPointer<DashboardChartView>& chart : charts_) {
        if (!chart) continue;
        chart->setSourceTimezone(model_.sourceTimezone.get());
        chart->setPin(model_.pinnedDate.get(),
                      isPinOrigin(model_.pinnedChartID.get(), chart->identifier()));
    }
}

}  // namespace ostrel
