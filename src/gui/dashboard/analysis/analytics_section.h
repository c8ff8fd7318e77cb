#pragma once

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/dashboard_section.h"

namespace ostrel {

class CompactNetworkTable;
class CompactProcessTable;

// "Analytics": the top CPU and top memory processes of the shown range and the latest sample's
// top network processes, side by side.
class AnalyticsSection final : public DashboardSection {
    Q_OBJECT

  public:
    explicit AnalyticsSection(DashboardViewModel& model, QWidget* parent = nullptr);

  private:
    void refresh() override;

    CompactProcessTable* cpu_;
    CompactProcessTable* memory_;
    CompactNetworkTable* network_;
};

}  // namespace ostrel
