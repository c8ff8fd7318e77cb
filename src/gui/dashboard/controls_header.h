#pragma once

#include <QWidget>

#include "gui/dashboard/deferred_refresh.h"

class QCheckBox;
class QLabel;
class QMenu;
class QPushButton;
class QToolButton;

namespace ostrel {

class Clock;
class DashboardViewModel;

// The row above the main area: refresh, open picked files or a folder, back to local data, the
// day stepper, the Normalized toggle and the zoom range with its clear button.
class ControlsHeader final : public QWidget {
  public:
    // `clock` tells "Today" and "Yesterday" apart in the day labels.
    ControlsHeader(DashboardViewModel& model, const Clock& clock, QWidget* parent = nullptr);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void openFiles();
    void openDirectory();
    void applyIcons();
    void refresh();

    DashboardViewModel& model_;
    const Clock& clock_;
    QPushButton* refreshButton_;
    QToolButton* openExternal_;
    QAction* openFilesAction_;
    QPushButton* returnToLocal_;
    QWidget* dayStepper_;
    QPushButton* older_;
    QToolButton* dayMenuButton_;
    QMenu* dayMenu_;
    QPushButton* newer_;
    QCheckBox* normalized_;
    QWidget* zoom_;
    QLabel* zoomRange_;
    QToolButton* clearZoom_;
    DeferredRefresh refresh_;
};

}  // namespace ostrel
