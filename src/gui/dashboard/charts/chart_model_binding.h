#pragma once

#include <QObject>
#include <QPointer>
#include <vector>

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/charts/dashboard_chart_view.h"
#include "gui/dashboard/deferred_refresh.h"

namespace ostrel {

// Ties charts to the model as every card of the window is tied: a click pins with the chart's
// identifier, a drag zooms, and each chart shows the model's pin (linked, unless it set it)
// and reads its dates in the source's zone. The model tells of a change before it stores it,
// so the charts are brought up to date from the event loop, once for a burst of changes.
class ChartModelBinding {
  public:
    ChartModelBinding(DashboardViewModel& model, QObject* context);

    void bind(DashboardChartView* chart);
    // Shows the model's current pin and zone on every bound chart.
    void refresh();

  private:
    DashboardViewModel& model_;
    std::vector<QPointer<DashboardChartView>> charts_;
    DeferredRefresh refresh_;
};

}  // namespace ostrel
