#pragma once

#include <vector>

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/charts/chart_model_binding.h"
#include "gui/dashboard/dashboard_section.h"

class QGridLayout;
class QLabel;

namespace ostrel {

class ChartCard;

// The selected watched process over time: its name, span and sample count above its CPU and
// memory charts, and its network and disk charts where it has such points. Hidden while no
// process is selected or it has neither CPU nor memory points.
class ProcessAnalysisCharts final : public DashboardSection {
  public:
    explicit ProcessAnalysisCharts(DashboardViewModel& model, QWidget* parent = nullptr);

    const std::vector<ChartCard*>& cards() const { return cards_; }
    QString headerText() const;

  protected:
    void refresh() override;

  private:
    void applyPalette();

    ChartModelBinding binding_;
    QLabel* icon_;
    QLabel* title_;
    QLabel* range_;
    QLabel* count_;
    QGridLayout* grid_;
    std::vector<ChartCard*> cards_;
};

}  // namespace ostrel
