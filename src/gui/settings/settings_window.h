#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include "settings/settings_view_model.h"

class QTabWidget;

namespace ostrel {

class SettingRow;
class StatusLineView;

// The settings window: the managed banner above six tabs, each built from the model's tables,
// and "Done". Redraws from the model whenever something it shows changes.
class SettingsWindow final : public QWidget {
    Q_OBJECT

  public:
    SettingsWindow(SettingsServices services, std::function<void()> openDashboard,
                   QWidget* parent = nullptr);
    ~SettingsWindow() override;

    SettingsViewModel& model() { return model_; }
    QTabWidget* tabs() const { return tabs_; }
    // Redraws everything from the model now.
    void refresh();

  protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

  private:
    QWidget* makeTab(SettingsTab tab);
    // Published values speak before they change: redraw on the next turn of the event loop,
    // once for any number of changes.
    void scheduleRefresh();

    SettingsViewModel model_;
    std::function<void()> openDashboard_;
    StatusLineView* banner_ = nullptr;
    QTabWidget* tabs_ = nullptr;
    std::vector<SettingRow*> rows_;
    std::vector<std::function<void()>> refreshers_;
    SettingsViewModel::Observation observation_;
    bool refreshPending_ = false;
};

}  // namespace ostrel
