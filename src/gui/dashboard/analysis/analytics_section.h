#pragma once

#include <QWidget>

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/deferred_refresh.h"

namespace ostrel {

class CompactNetworkTable;
class CompactProcessTable;

// "Analytics": the top CPU and top memory processes of the shown range and the latest sample's
// top network processes, side by side.
class AnalyticsSection final : public QWidget {
    Q_OBJECT

  public:
    explicit AnalyticsSection(DashboardViewModel& model, QWidget* parent = nullptr);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void refresh();

    DashboardViewModel& model_;
    CompactProcessTable* cpu_;
    CompactProcessTable* memory_;
    CompactNetworkTable* network_;
    DeferredRefresh deferred_{this, [this] { refresh(); }};
};

}  // namespace ostrel
