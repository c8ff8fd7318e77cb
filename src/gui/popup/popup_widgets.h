#pragma once

#include <QFrame>
#include <QLabel>
#include <QToolButton>
#include <QWidget>
#include <functional>
#include <string>

#include "popup/popup_content.h"

// The popup's small building blocks, each shown as the model describes it.
namespace ostrel::PopupWidgets {

QString text(const std::string& value);
// A button's text: an ampersand is shown, not taken for a shortcut mark.
QString buttonText(const std::string& value);

// A row that does something when clicked anywhere.
class ClickableRow final : public QWidget {
  public:
    explicit ClickableRow(std::function<void()> onClick);

  protected:
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    std::function<void()> onClick_;
};

// A label in `color` (resolved on the widget's palette) at `points` (0: the default size).
QLabel* label(const std::string& value, PopupColor color = PopupColor::primary, int points = 0,
              bool bold = false);
// A thin line between sections.
QWidget* divider();
// A small round dot in `color`.
QWidget* dot(PopupColor color);
// A flat icon button for a symbol, with its help.
QToolButton* iconButton(const std::string& symbol, const std::string& help,
                        PopupColor tint = PopupColor::secondary);
// A pin toggle; `onToggle` gets the pin's key.
QToolButton* pinButton(const PinButton& pin,
                       const std::function<void(const std::string&)>& onToggle);
// A process row: pin, name, pid or count, value (and memory in search results).
QWidget* processRow(const ProcessRow& row, const std::function<void(const std::string&)>& onPin);
// A rounded background of `color` at `opacity` behind `frame`'s content.
void tintBackground(QFrame* frame, const QColor& color, double opacity);
// One metric card, or an empty cell of clear colour.
QWidget* metricCard(const std::optional<MetricCard>& card);

}  // namespace ostrel::PopupWidgets
