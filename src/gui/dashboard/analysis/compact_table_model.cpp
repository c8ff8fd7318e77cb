#include "gui/dashboard/analysis/compact_table_model.h"

#include <QBrush>

#include "gui/dashboard/dashboard_palette.h"
#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel {
namespace {

// A hint of a band, enough to follow a row across the table.
constexpr double kOddRowOpacity = 0.02;
constexpr int kNameColumn = 1;

}  // namespace

void CompactTableModel::setContent(std::vector<TableColumn> columns, std::vector<Row> rows,
                                   const QPalette& palette) {
    beginResetModel();
    columns_ = std::move(columns);
    rows_ = std::move(rows);
    palette_ = palette;
    endResetModel();
}

int CompactTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int CompactTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

QVariant CompactTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const Row& row = rows_[static_cast<size_t>(index.row())];
    const auto column = static_cast<size_t>(index.column());
    const bool isBadge = row.badgeColor && column + 1 == row.cells.size();
    switch (role) {
        case Qt::DisplayRole:
        case Qt::ToolTipRole:
            return column < row.cells.size() ? qtText(row.cells[column]) : QString();
        case Qt::ForegroundRole:
            return QBrush(resolvedColor(columns_[column].cellColor, palette_));
        case Qt::BackgroundRole: {
            if (index.row() % 2 == 0) return {};
            QColor band = resolvedColor(DashboardColor::primary, palette_);
            band.setAlphaF(kOddRowOpacity);
            return QBrush(band);
        }
        case Qt::TextAlignmentRole:
            if (index.column() == kNameColumn) return int(Qt::AlignLeft | Qt::AlignVCenter);
            if (isBadge) return int(Qt::AlignCenter);
            return int(Qt::AlignRight | Qt::AlignVCenter);
        case kBadgeColorRole:
            return isBadge ? QVariant(static_cast<int>(*row.badgeColor)) : QVariant();
        default:
            return {};
    }
}

QVariant CompactTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount()) return {};
    const TableColumn& column = columns_[static_cast<size_t>(section)];
    switch (role) {
        case Qt::DisplayRole:
            return qtText(column.title);
        case Qt::ForegroundRole:
            return QBrush(resolvedColor(
                column.isActive ? DashboardColor::primary : DashboardColor::secondary, palette_));
        case Qt::DecorationRole:
            if (!column.isActive) return {};
            return symbolIcon("chevron.down", resolvedColor(DashboardColor::primary, palette_));
        case Qt::TextAlignmentRole:
            return int((section == kNameColumn ? Qt::AlignLeft : Qt::AlignRight) |
                       Qt::AlignVCenter);
        default:
            return {};
    }
}

}  // namespace ostrel
