#pragma once

#include <QWidget>

namespace ostrel {

// The panel that a left click on the tray item opens. It closes itself on a click anywhere
// outside it, as a transient popup should, and says so through closed().
class PopupPanel final : public QWidget {
    Q_OBJECT

  public:
    static constexpr int kWidth = 380;
    static constexpr int kHeight = 580;

    PopupPanel();

    // Shows the panel under `anchor` (the tray item's place on screen), or above it where the
    // screen ends below, kept inside the screen's free area.
    void showBelow(const QRect& anchor);

  signals:
    void closed();

  protected:
    void hideEvent(QHideEvent* event) override;
};

}  // namespace ostrel
