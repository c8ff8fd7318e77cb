#pragma once

#include <QFrame>
#include <functional>

#include "dashboard/alert_history.h"

namespace ostrel {

// One alert: its symbol, type label in its colour, message, time and chevron; open, also the
// value, the threshold and the top processes of the moment. A click anywhere toggles it. Its
// colours are those of `parent`'s palette.
class AlertCardView final : public QFrame {
    Q_OBJECT

  public:
    AlertCardView(const AlertCard& card, std::function<void()> onToggle, QWidget* parent);

    bool isExpanded() const { return isExpanded_; }

  protected:
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    QWidget* details(const AlertCard& card);

    std::function<void()> onToggle_;
    bool isExpanded_;
};

}  // namespace ostrel
