#pragma once

#include <QWidget>
#include <memory>

namespace ostrel {

class Clock;
class ControlsHeader;
class DashboardMainArea;
class DashboardViewModel;
class DeviceSidebar;

// The dashboard window: the device sidebar, a divider, then the controls header above the main
// area. Holds its model for its whole life and loads the history when first shown.
class DashboardWindow final : public QWidget {
  public:
    static constexpr QSize kContentSize{1600, 850};
    static constexpr QSize kMinimumSize{1400, 700};

    // `clock` is the model's, for the day labels.
    DashboardWindow(std::shared_ptr<DashboardViewModel> model, const Clock& clock,
                    QWidget* parent = nullptr);
    ~DashboardWindow() override;

    DashboardViewModel& model() { return *model_; }
    DeviceSidebar* sidebar() const { return sidebar_; }
    ControlsHeader* header() const { return header_; }
    DashboardMainArea* mainArea() const { return mainArea_; }

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    std::shared_ptr<DashboardViewModel> model_;
    DeviceSidebar* sidebar_;
    ControlsHeader* header_;
    DashboardMainArea* mainArea_;
    bool loaded_ = false;
};

}  // namespace ostrel
