#pragma once

#include <QFrame>

#include "dashboard/dashboard_summaries.h"
#include "gui/dashboard/dashboard_widgets.h"

namespace ostrel {

class HeroSparkline;

// One big figure of the hero strip: its title, value in its colour, sparkline and detail.
class HeroStatView final : public QFrame {
  public:
    explicit HeroStatView(QWidget* parent = nullptr);

    void display(const HeroStat& stat);

  private:
    QLabel* title_;
    DashboardWidgets::ColorLabel* value_;
    HeroSparkline* sparkline_;
    QLabel* detail_;
};

}  // namespace ostrel
