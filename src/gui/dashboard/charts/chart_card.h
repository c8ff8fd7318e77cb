#pragma once

#include <QFrame>

class QLabel;

namespace ostrel {

class DashboardChartView;

// A chart under its title, with an optional subtitle (an average) and an info sign whose
// tooltip is the chart's help text; the chart keeps a fixed height.
class ChartCard final : public QFrame {
  public:
    ChartCard(const QString& title, const QString& helpText, DashboardChartView* chart,
              int chartHeight, QWidget* parent = nullptr);

    // Empty hides it.
    void setSubtitle(const QString& subtitle);
    DashboardChartView* chart() const { return chart_; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void applyPalette();

    QLabel* title_;
    QLabel* subtitle_;
    QLabel* info_;
    DashboardChartView* chart_;
};

}  // namespace ostrel
