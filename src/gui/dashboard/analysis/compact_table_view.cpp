#include "gui/dashboard/analysis/compact_table_view.h"

#include <QHeaderView>
#include <QPainter>

#include "gui/dashboard/analysis/compact_table_model.h"
#include "gui/dashboard/analysis/impact_badge_delegate.h"

namespace ostrel {
namespace {

constexpr int kRowHeight = 22;
constexpr int kEmptyHeight = 60;
constexpr int kNameColumn = 1;

}  // namespace

CompactTableView::CompactTableView(CompactTableModel* model, QWidget* parent) : QTableView(parent) {
    setModel(model);
    setItemDelegate(new ImpactBadgeDelegate(this));
    setShowGrid(false);
    setFrameShape(QFrame::NoFrame);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWordWrap(false);
    setTextElideMode(Qt::ElideRight);
    // The table lies on the section's own background.
    viewport()->setAutoFillBackground(false);
    setStyleSheet(QStringLiteral("QTableView { background: transparent; }"));
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(kRowHeight);

    QHeaderView* header = horizontalHeader();
    header->setHighlightSections(false);
    header->setSectionsClickable(true);
    header->setMinimumSectionSize(24);
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setStyleSheet(QStringLiteral(
        "QHeaderView { background: transparent; }"
        "QHeaderView::section { background: transparent; border: none; padding: 0 4px; }"));
    QFont small = header->font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    small.setBold(true);
    header->setFont(small);
    connect(model, &QAbstractItemModel::modelReset, this, [this, header] {
        if (header->count() > kNameColumn)
            header->setSectionResizeMode(kNameColumn, QHeaderView::Stretch);
        fitHeight();
    });
    fitHeight();
}

void CompactTableView::setEmptyText(const QString& text, const QColor& color) {
    emptyText_ = text;
    emptyColor_ = color;
    horizontalHeader()->setVisible(text.isEmpty());
    fitHeight();
    viewport()->update();
}

void CompactTableView::paintEvent(QPaintEvent* event) {
    QTableView::paintEvent(event);
    if (emptyText_.isEmpty()) return;
    QPainter painter(viewport());
    painter.setPen(emptyColor_);
    painter.drawText(viewport()->rect(), Qt::AlignCenter, emptyText_);
}

void CompactTableView::fitHeight() {
    if (!emptyText_.isEmpty()) {
        setFixedHeight(kEmptyHeight);
        return;
    }
    setFixedHeight(horizontalHeader()->sizeHint().height() + kRowHeight * model()->rowCount() +
                   2 * frameWidth());
}

}  // namespace ostrel
