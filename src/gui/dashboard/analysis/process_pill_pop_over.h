#pragma once

#include <QFrame>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace ostrel {

// The list that a click on the process pill opens: a search field for a long list, the
// patterns the search keeps with a check at the selected one, and an entry that clears the
// selection. A pick closes it; it deletes itself once closed, so its search starts empty.
class ProcessPillPopOverView final : public QFrame {
    Q_OBJECT

  public:
    using OnSelect = std::function<void(const std::optional<std::string>&)>;

    ProcessPillPopOverView(std::vector<std::string> patterns, std::optional<std::string> selected,
                           OnSelect onSelect, QWidget* parent = nullptr);

  private:
    void showMatches(const QString& searchText);
    void pick(const std::optional<std::string>& pattern);

    std::vector<std::string> patterns_;
    std::optional<std::string> selected_;
    OnSelect onSelect_;
    QLineEdit* search_;
    QListWidget* list_;
    QLabel* noMatches_;
    QPushButton* clear_;
};

}  // namespace ostrel
