#include "gui/popup/popup_search_widget.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include "gui/icons/symbol_icons.h"
#include "gui/popup/popup_palette.h"
#include "gui/popup/popup_widgets.h"

namespace ostrel {

using namespace PopupWidgets;

PopupSearchWidget::PopupSearchWidget(PopupModel& model, QWidget* parent)
    : QWidget(parent), model_(model) {
    // The labels' texts are the model's; they are filled in by show().
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);

    collapsed_ = new QPushButton;
    collapsed_->setFlat(true);
    collapsed_->setCursor(Qt::PointingHandCursor);
    collapsed_->setFocusPolicy(Qt::NoFocus);
    collapsed_->setStyleSheet(QStringLiteral("text-align: left; padding: 2px;"));
    connect(collapsed_, &QPushButton::clicked, this, [this] { model_.expandSearch(); });
    layout->addWidget(collapsed_);

    expanded_ = new QWidget;
    auto* expandedLayout = new QVBoxLayout(expanded_);
    expandedLayout->setContentsMargins(0, 0, 0, 0);
    expandedLayout->setSpacing(6);
    auto* header = new QHBoxLayout;
    header->setSpacing(4);
    icon_ = new QLabel;
    header->addWidget(icon_);
    title_ = label("", PopupColor::primary, 10, true);
    header->addWidget(title_);
    groupedNote_ = label("", PopupColor::secondary, 9);
    header->addWidget(groupedNote_);
    header->addStretch();
    maxNote_ = label("", PopupColor::secondary, 9);
    header->addWidget(maxNote_);
    close_ = new QToolButton;
    close_->setAutoRaise(true);
    connect(close_, &QToolButton::clicked, this, [this] { model_.collapseSearch(); });
    header->addWidget(close_);
    expandedLayout->addLayout(header);

    auto* fieldRow = new QHBoxLayout;
    fieldRow->setSpacing(2);
    field_ = new QLineEdit;
    connect(field_, &QLineEdit::textEdited, this,
            [this](const QString& text) { model_.setSearchText(text.toStdString()); });
    fieldRow->addWidget(field_);
    clear_ = new QToolButton;
    clear_->setAutoRaise(true);
    connect(clear_, &QToolButton::clicked, this, [this] { model_.setSearchText(""); });
    fieldRow->addWidget(clear_);
    expandedLayout->addLayout(fieldRow);

    list_ = new QScrollArea;
    list_->setWidgetResizable(true);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    expandedLayout->addWidget(list_);
    noResults_ = label("", PopupColor::secondary, 10);
    expandedLayout->addWidget(noResults_);
    layout->addWidget(expanded_);
}

void PopupSearchWidget::show(const SearchSection& section) {
    const QColor secondary = resolvedColor(PopupColor::secondary, palette());
    collapsed_->setIcon(symbolIcon(section.image, secondary));
    collapsed_->setText(buttonText(section.title));
    const bool opening = section.expanded && expanded_->isHidden();
    collapsed_->setVisible(!section.expanded);
    expanded_->setVisible(section.expanded);
    if (!section.expanded) return;
    if (opening) {
        field_->setFocus();
        scrollIntoView();
    }

    icon_->setPixmap(symbolIcon(section.image, secondary).pixmap(14, 14));
    title_->setText(text(section.title));
    close_->setIcon(symbolIcon(section.closeImage, secondary));
    clear_->setIcon(symbolIcon(section.closeImage, secondary));
    groupedNote_->setText(text(section.groupedNote));
    groupedNote_->setVisible(!section.groupedNote.empty());
    maxNote_->setText(text(section.maxNote));
    field_->setPlaceholderText(text(section.placeholder));
    if (field_->text() != text(section.text)) field_->setText(text(section.text));
    clear_->setVisible(section.showsClearButton);
    noResults_->setText(text(section.noResults));
    noResults_->setVisible(section.showsList && section.results.empty());
    list_->setVisible(section.showsList && !section.results.empty());
    list_->setFixedHeight(section.listHeight);
    if (shownResults_ == section.results) return;
    shownResults_ = section.results;
    auto* rows = new QWidget;
    auto* layout = new QVBoxLayout(rows);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (const ProcessRow& row : section.results) {
        QWidget* widget =
            processRow(row, [this](const std::string& key) { model_.togglePin(key); });
        widget->setFixedHeight(18);
        layout->addWidget(widget);
    }
    layout->addStretch();
    list_->setWidget(rows);  // the previous rows go with it
    scrollIntoView();
}

void PopupSearchWidget::scrollIntoView() {
    // Once laid out: the search sits below the fold of a long popup.
    QTimer::singleShot(0, this, [this] {
        for (QWidget* ancestor = parentWidget(); ancestor; ancestor = ancestor->parentWidget()) {
            if (auto* scroll = qobject_cast<QScrollArea*>(ancestor)) {
                scroll->ensureWidgetVisible(expanded_, 0, 0);
                return;
            }
        }
    });
}

}  // namespace ostrel
