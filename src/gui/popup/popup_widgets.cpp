#include "gui/popup/popup_widgets.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>

#include "gui/icons/symbol_icons.h"
#include "gui/popup/popup_palette.h"

namespace ostrel::PopupWidgets {
namespace {

// Draws a filled circle; the dot of the header.
class Dot final : public QWidget {
  public:
    explicit Dot(PopupColor color) : color_(color) { setFixedSize(8, 8); }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(resolvedColor(color_, palette()));
        painter.drawEllipse(rect());
    }

  private:
    PopupColor color_;
};

void setTextColor(QWidget* widget, PopupColor color) {
    QPalette palette = widget->palette();
    palette.setColor(QPalette::WindowText, resolvedColor(color, palette));
    widget->setPalette(palette);
}

}  // namespace

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

QString buttonText(const std::string& value) {
    return text(value).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

ClickableRow::ClickableRow(std::function<void()> onClick) : onClick_(std::move(onClick)) {
    setCursor(Qt::PointingHandCursor);
}

void ClickableRow::mouseReleaseEvent(QMouseEvent* event) {
    QWidget::mouseReleaseEvent(event);
    if (rect().contains(event->position().toPoint())) onClick_();
}

QLabel* label(const std::string& value, PopupColor color, int points, bool bold) {
    auto* result = new QLabel(text(value));
    result->setTextFormat(Qt::PlainText);
    if (color != PopupColor::primary) setTextColor(result, color);
    if (points > 0 || bold) {
        QFont font = result->font();
        if (points > 0) font.setPointSize(points);
        font.setBold(bold);
        result->setFont(font);
    }
    return result;
}

QWidget* divider() {
    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Plain);
    QPalette palette = line->palette();
    QColor color = palette.color(QPalette::WindowText);
    color.setAlphaF(0.15f);
    palette.setColor(QPalette::WindowText, color);
    line->setPalette(palette);
    return line;
}

QWidget* dot(PopupColor color) {
    return new Dot(color);
}

QToolButton* iconButton(const std::string& symbol, const std::string& help, PopupColor tint) {
    auto* button = new QToolButton;
    button->setAutoRaise(true);
    button->setIconSize(QSize(14, 14));
    button->setIcon(symbolIcon(symbol, resolvedColor(tint, button->palette())));
    button->setToolTip(text(help));
    button->setCursor(Qt::PointingHandCursor);
    // Clicked, not focused: a section rebuilt under a focused button would move the focus, and
    // the scroll area with it.
    button->setFocusPolicy(Qt::NoFocus);
    return button;
}

QToolButton* pinButton(const PinButton& pin,
                       const std::function<void(const std::string&)>& onToggle) {
    QToolButton* button =
        iconButton(pin.image, pin.help, pin.pinned ? PopupColor::orange : PopupColor::secondary);
    button->setIconSize(QSize(12, 12));
    button->setFixedSize(16, 16);
    button->setEnabled(pin.enabled);
    QObject::connect(button, &QToolButton::clicked, button,
                     [onToggle, key = pin.key] { onToggle(key); });
    return button;
}

QWidget* processRow(const ProcessRow& row, const std::function<void(const std::string&)>& onPin) {
    auto* widget = new QWidget;
    widget->setToolTip(text(row.help));
    auto* layout = new QHBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(pinButton(row.pin, onPin));
    QLabel* name = label(row.name, PopupColor::primary, 10);
    name->setMinimumWidth(40);
    name->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    layout->addWidget(name, 1);
    if (!row.pid.empty()) layout->addWidget(label(row.pid, PopupColor::secondary, 9));
    if (!row.count.empty()) layout->addWidget(label(row.count, PopupColor::blue, 9));
    layout->addWidget(label(row.value, PopupColor::primary, 10));
    if (!row.memory.empty()) layout->addWidget(label(row.memory, PopupColor::secondary, 10));
    return widget;
}

void tintBackground(QFrame* frame, const QColor& color, double opacity) {
    // A style sheet for the rounded corners, named so that it stays on the frame itself.
    frame->setObjectName(QStringLiteral("tinted"));
    frame->setStyleSheet(
        QStringLiteral("QFrame#tinted { background: rgba(%1, %2, %3, %4); border-radius: 6px; }")
            .arg(color.red())
            .arg(color.green())
            .arg(color.blue())
            .arg(opacity));
}

QWidget* metricCard(const std::optional<MetricCard>& card) {
    auto* frame = new QFrame;
    frame->setMinimumHeight(40);
    if (!card) return frame;
    frame->setToolTip(text(card->help));
    tintBackground(frame, resolvedColor(card->color, frame->palette()), 0.12);
    auto* layout = new QVBoxLayout(frame);
    layout->setContentsMargins(8, 4, 8, 4);
    layout->setSpacing(0);
    layout->addWidget(label(card->title, PopupColor::secondary, 9));
    layout->addWidget(label(card->value, card->color, 13, true));
    return frame;
}

}  // namespace ostrel::PopupWidgets
