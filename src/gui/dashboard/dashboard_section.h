#pragma once

#include <QEvent>
#include <QWidget>

#include "dashboard/dashboard_view_model.h"
#include "gui/dashboard/deferred_refresh.h"

namespace ostrel {

// A section of the dashboard over its model. It refreshes on the next turn of the event loop
// after a value it watches changes, and after a switch between light and dark, once its children
// have the new palette too: they are told after their parent.
class DashboardSection : public QWidget {
  public:
    explicit DashboardSection(DashboardViewModel& model, QWidget* parent = nullptr)
        : QWidget(parent), model_(model) {}

  protected:
    virtual void refresh() = 0;

    void changeEvent(QEvent* event) override {
        QWidget::changeEvent(event);
        if (event->type() == QEvent::PaletteChange) refresh_.schedule();
    }

    DashboardViewModel& model_;
    DeferredRefresh refresh_{this, [this] { refresh(); }};
};

}  // namespace ostrel
