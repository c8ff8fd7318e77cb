#pragma once

#include <QWidget>
#include <array>

#include "popup/popup_model.h"

class QLineEdit;
class QVBoxLayout;

namespace ostrel {

class PopupSearchWidget;

// The popup's content: shows what the model publishes, section by section, and sends the
// user's actions back to it. A section is rebuilt only when its part of the content changed;
// the search field stays, so typing is never interrupted.
class PopupView final : public QWidget {
  public:
    static constexpr int kContentWidth = 356;
    static constexpr int kPadding = 12;

    explicit PopupView(std::unique_ptr<PopupModel> model, QWidget* parent = nullptr);
    ~PopupView() override;

    PopupModel& model() { return *owned_; }

  protected:
    // A switch between light and dark redraws every section in the new colours.
    void changeEvent(QEvent* event) override;

  private:
    enum Section { header, status, metrics, watched, controls, footer, sectionCount };

    void show(const PopupContent& content);
    void replace(Section section, QWidget* widget);

    QWidget* headerWidget(const PopupHeader& header);
    QWidget* statusWidget(const PopupContent& content);
    QWidget* metricsWidget(const MetricsSection& section);
    QWidget* processListWidget(const ProcessList& list);
    QWidget* watchedWidget(const WatchedSection& section);
    QWidget* controlsWidget(const ControlsSection& section);
    QWidget* footerWidget(const PopupFooter& footer);

    // Lives and dies with the view, so that nothing observes a closed popup.
    std::unique_ptr<PopupModel> owned_;
    PopupModel& model_;
    QVBoxLayout* column_;
    std::array<QWidget*, sectionCount> sections_{};
    std::array<QWidget*, sectionCount> dividers_{};
    PopupSearchWidget* search_;
    std::optional<PopupContent> shown_;
    Published<PopupContent>::Subscription subscription_;
};

}  // namespace ostrel
