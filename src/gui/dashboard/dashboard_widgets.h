#pragma once

#include <QFrame>
#include <QLabel>
#include <string_view>

#include "dashboard/dashboard_color.h"

// The dashboard's small building blocks, shared by its regions.
namespace ostrel::DashboardWidgets {

// A label in a dashboard colour, drawn again when the desktop turns light or dark.
class ColorLabel final : public QLabel {
  public:
    explicit ColorLabel(DashboardColor color);
    void setColor(DashboardColor color);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void apply();

    DashboardColor color_;
    bool applying_ = false;
};

// A label in `color` on the widget's palette, its font scaled by `scale`.
ColorLabel* label(std::string_view text, DashboardColor color = DashboardColor::primary,
                  double scale = 1.0, bool bold = false);
// A symbol drawn in `color` at `size` pixels.
QLabel* symbol(std::string_view name, DashboardColor color, int size = 16);
// Gives `frame` a faint background and rounded corners, as a card or a group.
void styleAsCard(QFrame* frame);

}  // namespace ostrel::DashboardWidgets
