#include "gui/dashboard/analysis/impact_badge_delegate.h"

#include <QPainter>

#include "gui/dashboard/analysis/compact_table_model.h"
#include "gui/dashboard/dashboard_palette.h"

namespace ostrel {
namespace {

constexpr double kBadgeOpacity = 0.9;
constexpr int kPadding = 6;
constexpr int kHeight = 16;

}  // namespace

void ImpactBadgeDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                const QModelIndex& index) const {
    const QVariant badge = index.data(CompactTableModel::kBadgeColorRole);
    if (!badge.isValid()) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    // The row's band first, as every other cell has it.
    if (const QVariant band = index.data(Qt::BackgroundRole); band.canConvert<QBrush>())
        painter->fillRect(option.rect, band.value<QBrush>());

    const QString text = index.data(Qt::DisplayRole).toString();
    QFont font = option.font;
    font.setPointSizeF(font.pointSizeF() * 0.8);
    font.setBold(true);
    const int width = QFontMetrics(font).horizontalAdvance(text) + 2 * kPadding;
    QRect pill(0, 0, width, kHeight);
    pill.moveCenter(option.rect.center());

    QColor color = resolvedColor(static_cast<DashboardColor>(badge.toInt()), option.palette);
    color.setAlphaF(kBadgeOpacity);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawRoundedRect(pill, kHeight / 2.0, kHeight / 2.0);
    painter->setPen(Qt::white);
    painter->setFont(font);
    painter->drawText(pill, Qt::AlignCenter, text);
    painter->restore();
}

}  // namespace ostrel
