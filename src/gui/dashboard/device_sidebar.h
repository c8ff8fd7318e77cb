#pragma once

#include <QWidget>

#include "gui/dashboard/deferred_refresh.h"

class QComboBox;
class QLabel;
class QVBoxLayout;

namespace ostrel {

class DashboardViewModel;

// The window's left column: this machine or the picked source, the host selector where the
// source holds several, the sample count and time range, then the hardware and system rows.
class DeviceSidebar final : public QWidget {
  public:
    explicit DeviceSidebar(DashboardViewModel& model, QWidget* parent = nullptr);

    QComboBox* hostSelector() const { return hosts_; }

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void refresh();

    DashboardViewModel& model_;
    QLabel* noDeviceInfo_;
    QWidget* device_;
    QLabel* icon_;
    QLabel* title_;
    QLabel* sourcePath_;
    QLabel* machineCount_;
    QComboBox* hosts_;
    QLabel* hostname_;
    QLabel* sampleCount_;
    QLabel* timeRange_;
    QWidget* sections_ = nullptr;
    QVBoxLayout* column_;
    DeferredRefresh refresh_;
};

}  // namespace ostrel
