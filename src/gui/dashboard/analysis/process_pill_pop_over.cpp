#include "gui/dashboard/analysis/process_pill_pop_over.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "dashboard/process_selection.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel {
namespace {

constexpr int kWidth = 240;
constexpr int kMaximumListHeight = 260;

}  // namespace

ProcessPillPopOverView::ProcessPillPopOverView(std::vector<std::string> patterns,
                                               std::optional<std::string> selected,
                                               OnSelect onSelect, QWidget* parent)
    : QFrame(parent, Qt::Popup),
      patterns_(std::move(patterns)),
      selected_(std::move(selected)),
      onSelect_(std::move(onSelect)) {
    setAttribute(Qt::WA_DeleteOnClose);
    setFrameShape(QFrame::StyledPanel);
    const ProcessPillPopOver content = processPillPopOver(patterns_, selected_, "");

    // A menu's look: the list's own background, the size of its content.
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->setSpacing(4);
    search_ = new QLineEdit;
    search_->setPlaceholderText(qtText(content.searchPrompt));
    search_->setClearButtonEnabled(true);
    search_->setMinimumWidth(kWidth);
    search_->setVisible(content.showsSearchField);
    connect(search_, &QLineEdit::textChanged, this, &ProcessPillPopOverView::showMatches);
    layout->addWidget(search_);

    list_ = new QListWidget;
    list_->setFrameShape(QFrame::NoFrame);
    list_->setFixedWidth(kWidth);
    list_->setIconSize(QSize(12, 12));
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    connect(list_, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
        pick(item->data(Qt::UserRole).toString().toStdString());
    });
    connect(list_, &QListWidget::itemActivated, this, [this](QListWidgetItem* item) {
        pick(item->data(Qt::UserRole).toString().toStdString());
    });
    layout->addWidget(list_);
    noMatches_ = new QLabel;
    noMatches_->setAlignment(Qt::AlignCenter);
    noMatches_->setMinimumWidth(kWidth);
    layout->addWidget(noMatches_);

    clear_ = new QPushButton;
    clear_->setFlat(true);
    clear_->setStyleSheet(QStringLiteral("text-align: left; padding: 4px;"));
    clear_->setVisible(content.clearText.has_value());
    clear_->setText(qtText(content.clearText.value_or("")));
    clear_->setIcon(
        symbolIcon("xmark.circle", resolvedColor(DashboardColor::secondary, palette())));
    connect(clear_, &QPushButton::clicked, this, [this] { pick(std::nullopt); });
    layout->addWidget(clear_);

    showMatches({});
    if (content.showsSearchField) search_->setFocus();
}

void ProcessPillPopOverView::showMatches(const QString& searchText) {
    const ProcessPillPopOver content =
        processPillPopOver(patterns_, selected_, searchText.toStdString());
    list_->clear();
    const QIcon check = symbolIcon("checkmark", resolvedColor(DashboardColor::purple, palette()));
    // Unchecked rows keep the check's room, so that the names stay aligned.
    QPixmap blank(12, 12);
    blank.fill(Qt::transparent);
    for (const ProcessPillItem& item : content.items) {
        auto* row = new QListWidgetItem(item.isSelected ? check : QIcon(blank),
                                        qtText(item.pattern), list_);
        row->setData(Qt::UserRole, qtText(item.pattern));
    }
    noMatches_->setText(qtText(content.emptyText.value_or("")));
    noMatches_->setVisible(content.emptyText.has_value());
    list_->setVisible(!content.items.empty());
    const int rows = static_cast<int>(content.items.size());
    list_->setFixedHeight(std::min(kMaximumListHeight, rows * list_->sizeHintForRow(0) + 4));
}

void ProcessPillPopOverView::pick(const std::optional<std::string>& pattern) {
    // The selection is told after the pop-over is gone: the callback may rebuild the pill.
    const OnSelect onSelect = onSelect_;
    close();
    onSelect(pattern);
}

}  // namespace ostrel
