#pragma once

#include <QWidget>
#include <functional>
#include <memory>

#include "popup/popup_model.h"

class QScrollArea;

namespace ostrel {

class PopupView;

// The window that a left click on the tray item opens: a transient popup that closes on a click
// anywhere outside it and says so through closed(). Its model and view exist only while it is
// shown, so a closed popup observes nothing and costs nothing.
class PopupPanel final : public QWidget {
    Q_OBJECT

  public:
    static constexpr int kWidth = 380;
    static constexpr int kHeight = 580;
    using ModelFactory = std::function<std::unique_ptr<PopupModel>()>;

    explicit PopupPanel(ModelFactory makeModel);
    ~PopupPanel() override;

    // Shows the panel under `anchor` (the tray item's place on screen), or above it where the
    // screen ends below, kept inside the screen's free area.
    void showBelow(const QRect& anchor);

    // The content while shown, else none; for tests and pictures.
    PopupView* view() const { return view_; }

  signals:
    void closed();

  protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    void buildContent();
    void dropContent();

    ModelFactory makeModel_;
    QScrollArea* scroll_;
    PopupView* view_ = nullptr;
};

}  // namespace ostrel
