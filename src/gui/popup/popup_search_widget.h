#pragma once

#include <QWidget>

#include "popup/popup_model.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QScrollArea;
class QToolButton;

namespace ostrel {

// Find & Pin: a row that expands into a header, the search field and the result list. The
// field lives as long as the widget, so a new content never takes the focus or the cursor.
class PopupSearchWidget final : public QWidget {
  public:
    explicit PopupSearchWidget(PopupModel& model, QWidget* parent = nullptr);

    void show(const SearchSection& section);

  private:
    void scrollIntoView();

    PopupModel& model_;
    QPushButton* collapsed_;
    QWidget* expanded_;
    QLabel* icon_;
    QLabel* title_;
    QLabel* groupedNote_;
    QLabel* maxNote_;
    QLineEdit* field_;
    QToolButton* close_;
    QToolButton* clear_;
    QScrollArea* list_;
    QLabel* noResults_;
    std::optional<std::vector<ProcessRow>> shownResults_;
};

}  // namespace ostrel
