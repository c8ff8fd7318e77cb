#pragma once

#include <QWidget>
#include <optional>

#include "settings/settings_view_model.h"

class QLabel;

namespace ostrel {

// A status or warning line: its symbol, a bold heading where it has one, and the text. Hidden
// while there is nothing to say.
class StatusLineView final : public QWidget {
  public:
    explicit StatusLineView(QWidget* parent = nullptr);

    void showLine(const std::optional<StatusLine>& line);

  private:
    QLabel* icon_;
    QLabel* heading_;
    QLabel* text_;
};

// The colour a status symbol is drawn in: green for a good state, orange for a warning, red for
// a failure; none (the theme's own) for the rest.
QColor symbolTint(std::string_view symbol);

}  // namespace ostrel
