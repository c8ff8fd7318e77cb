#pragma once

#include <QWidget>
#include <vector>

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/charts/chart_model_binding.h"

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
    void scheduleRefresh();
    void applyPalette();

    DashboardViewModel& model_;
    ChartModelBinding binding_;
    QLabel* icon_;
    QLabel* title_;
    QLabel* range_;
    QLabel* count_;
    QGridLayout* grid_;
    std::vector<ChartCard*> cards_;
    bool refreshPending_ = false;
    Published<uint64_t>::Subscription dataChanges_;
    Published<std::optional<std::string>>::Subscription selection_;
    Published<bool>::Subscription normalization_;
};

}  // namespace ostrel
