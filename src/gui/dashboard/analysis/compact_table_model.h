#pragma once

#include <QAbstractTableModel>
#include <QPalette>
#include <optional>
#include <string>
#include <vector>

#include "dashboard/analytics_tables.h"

namespace ostrel {

// The rows of one analytics table for Qt's views, as the dashboard model made them: the cells'
// texts in their column's colour, odd rows faintly shaded, the sorting column's title in
// primary with a chevron, and a badge colour where a column shows badges.
class CompactTableModel final : public QAbstractTableModel {
    Q_OBJECT

  public:
    // The DashboardColor (as int) of a badge cell.
    static constexpr int kBadgeColorRole = Qt::UserRole + 1;

    struct Row {
        std::vector<std::string> cells;
        std::optional<DashboardColor> badgeColor;  // of the last cell
    };

    using QAbstractTableModel::QAbstractTableModel;

    void setContent(std::vector<TableColumn> columns, std::vector<Row> rows,
                    const QPalette& palette);
    const std::vector<TableColumn>& columns() const { return columns_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  private:
    std::vector<TableColumn> columns_;
    std::vector<Row> rows_;
    QPalette palette_;
};

}  // namespace ostrel
