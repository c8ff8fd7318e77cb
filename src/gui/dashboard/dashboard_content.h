#pragma once

#include <QWidget>
#include <array>

#include "gui/dashboard/deferred_refresh.h"

class QGraphicsOpacityEffect;
class QLabel;
class QVBoxLayout;

namespace ostrel {

class DashboardViewModel;
class HeroStatView;
class SummaryStatCardView;
class TopConsumerCardView;

// What the window shows once a source is loaded, top to bottom: the hero strip, the summary
// row, then the charts, the process analysis, the analytics tables and the alert history, each
// of which observes the model itself. Dimmed and closed to input while the charts rebuild.
class DashboardContent final : public QWidget {
  public:
    explicit DashboardContent(DashboardViewModel& model, QWidget* parent = nullptr);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    // The sections below the summary row, in their order.
    void addSections(QVBoxLayout* column);
    void refresh();

    DashboardViewModel& model_;
    QLabel* zoomRebuildNote_;
    QWidget* body_;
    QGraphicsOpacityEffect* dimming_;
    std::array<HeroStatView*, 3> heroes_{};
    std::array<SummaryStatCardView*, 4> summaries_{};
    TopConsumerCardView* topConsumer_;
    DeferredRefresh refresh_;
};

}  // namespace ostrel
