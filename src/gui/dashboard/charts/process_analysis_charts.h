#pragma once

#include <QWidget>
#include <vector>

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/charts/chart_model_binding.h"
#include "gui/dashboard/deferred_refresh.h"

class QGridLayout;
class QLabel;

namespace ostrel {

class ChartCard;

// The selected watched process over time: its name, span and sample count above its CPU and
// memory charts, and its network and disk charts where it has such points. Hidden while no
// process is selected or it has neither CPU nor memory points.
class ProcessAnalysisCharts final : public QWidget {
  public:
    static constexpr int kChartHeight = 200;

    explicit ProcessAnalysisCharts(DashboardViewModel& model, QWidget* parent = nullptr);

    const std::vector<ChartCard*>& cards() const { return cards_; }
    QString headerText() const;
    void refresh();

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void applyPalette();

    DashboardViewModel& model_;
    ChartModelBinding binding_;
    DeferredRefresh refresh_;
    QLabel* icon_;
    QLabel* title_;
    QLabel* range_;
    QLabel* count_;
    QGridLayout* grid_;
    std::vector<ChartCard*> cards_;
};

}  // namespace ostrel
