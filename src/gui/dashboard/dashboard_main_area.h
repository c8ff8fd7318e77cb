#pragma once

#include <QStackedWidget>

#include "dashboard/main_area.h"
#include "gui/dashboard/deferred_refresh.h"

class QLabel;
class QProgressBar;
class QPushButton;
class QScrollArea;

namespace ostrel {

class DashboardContent;
class DashboardViewModel;

// The window's main area: the loading, empty or error view, or the dashboard content, as the
// load's phase says.
class DashboardMainArea final : public QStackedWidget {
  public:
    explicit DashboardMainArea(DashboardViewModel& model, QWidget* parent = nullptr);

    MainArea::View shownView() const { return shown_.view; }
    DashboardContent* content() const { return content_; }

  protected:
    void changeEvent(QEvent* event) override;

  private:
    // A centred column of an icon, a title, a progress bar and a message, with Retry.
    QWidget* makeStatusPage();
    void refresh();

    DashboardViewModel& model_;
    MainArea shown_;
    QWidget* statusPage_;
    QLabel* statusIcon_;
    QLabel* statusTitle_;
    QProgressBar* progress_;
    QLabel* statusMessage_;
    QPushButton* retry_;
    QScrollArea* scroll_;
    DashboardContent* content_;
    DeferredRefresh refresh_;
};

}  // namespace ostrel
