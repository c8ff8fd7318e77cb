#include "gui/settings/status_line_view.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "gui/icons/symbol_icons.h"

namespace ostrel {

QColor symbolTint(std::string_view symbol) {
    if (symbol == "checkmark.circle.fill") return QColor(0x34, 0xc7, 0x59);
    if (symbol == "exclamationmark.triangle.fill") return QColor(0xff, 0x95, 0x00);
    if (symbol == "xmark.circle.fill") return QColor(0xff, 0x3b, 0x30);
    return {};
}

StatusLineView::StatusLineView(QWidget* parent)
    : QWidget(parent),
      icon_(new QLabel(this)),
      heading_(new QLabel(this)),
      text_(new QLabel(this)) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 2, 0, 2);
    icon_->setAlignment(Qt::AlignTop);
    layout->addWidget(icon_);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    QFont bold = heading_->font();
    bold.setBold(true);
    heading_->setFont(bold);
    text_->setWordWrap(true);
    text_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    texts->addWidget(heading_);
    texts->addWidget(text_);
    layout->addLayout(texts, 1);
    setVisible(false);
}

void StatusLineView::showLine(const std::optional<StatusLine>& line) {
    setVisible(line.has_value());
    if (!line) return;
    icon_->setVisible(!line->icon.empty());
    if (!line->icon.empty()) {
        QColor tint = symbolTint(line->icon);
        if (!tint.isValid()) tint = palette().color(QPalette::WindowText);
        icon_->setPixmap(symbolIcon(line->icon, tint).pixmap(16, 16));
    }
    heading_->setVisible(!line->heading.empty());
    heading_->setText(QString::fromStdString(line->heading));
    text_->setText(QString::fromStdString(line->text));
}

}  // namespace ostrel
