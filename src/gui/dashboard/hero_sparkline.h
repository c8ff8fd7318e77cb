#pragma once

#include <QWidget>
#include <vector>

#include "dashboard/dashboard_color.h"

namespace ostrel {

// A small line of a series' latest values under a faint fill, scaled to its own range.
class HeroSparkline final : public QWidget {
  public:
    explicit HeroSparkline(QWidget* parent = nullptr);

    void display(std::vector<double> values, DashboardColor color);
    QSize sizeHint() const override { return {160, 36}; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    std::vector<double> data_;
    DashboardColor color_ = DashboardColor::accent;
};

}  // namespace ostrel
