#pragma once

#include <QWidget>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class QLabel;

namespace ostrel {

// A pill with the selected pattern or "Select process" that opens the list of patterns. It
// is tinted purple while a pattern is selected; otherwise its faint border firms up under
// the pointer. Space or Return opens it from the keyboard.
class ProcessPillSelector final : public QWidget {
    Q_OBJECT

  public:
    using OnSelect = std::function<void(const std::optional<std::string>&)>;

    explicit ProcessPillSelector(OnSelect onSelect, QWidget* parent = nullptr);

    void display(const std::string& pillText, std::vector<std::string> patterns,
                 std::optional<std::string> selected);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    // The signs in the colours of the selection and the palette; the pill is painted.
    void restyle();
    void openPopOver();

    OnSelect onSelect_;
    QLabel* search_;
    QLabel* text_;
    QLabel* chevron_;
    std::vector<std::string> patterns_;
    std::optional<std::string> selected_;
    bool isHovering_ = false;
};

}  // namespace ostrel
