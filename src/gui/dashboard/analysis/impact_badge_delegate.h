#pragma once

#include <QStyledItemDelegate>

namespace ostrel {

// Draws a cell that carries a badge colour as a small rounded badge: white text on the colour
// at 0.9 opacity ("Sustained" red, "Recurring" orange, "Spike" green). Other cells as usual.
class ImpactBadgeDelegate final : public QStyledItemDelegate {
    Q_OBJECT

  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};

}  // namespace ostrel
