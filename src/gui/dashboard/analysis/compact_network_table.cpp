#include "gui/dashboard/analysis/compact_network_table.h"

#include <QLabel>
#include <QVBoxLayout>

#include "gui/dashboard/analysis/compact_table_model.h"
#include "gui/dashboard/analysis/compact_table_view.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/dashboard/dashboard_widgets.h"
#include "gui/dashboard/section_widgets.h"
#include "gui/settings/qt_text.h"

namespace ostrel {

using namespace SectionWidgets;

CompactNetworkTable::CompactNetworkTable(QWidget* parent) : QFrame(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 8, 10, 8);
    layout->setSpacing(6);
    auto* headingRow = new QHBoxLayout;
    headingRow->setSpacing(4);
    heading_ = addHeading(headingRow);
    headingRow->addStretch();
    layout->addLayout(headingRow);
    model_ = new CompactTableModel(this);
    view_ = new CompactTableView(model_);
    layout->addWidget(view_);
    layout->addStretch();
}

void CompactNetworkTable::display(const NetworkTable& table) {
    // Again for a new palette: a style sheet takes the palette's colours when it is set.
    DashboardWidgets::styleAsCard(this);
    showHeading(heading_, table.icon, resolvedColor(table.iconColor, this), table.title);
    std::vector<CompactTableModel::Row> rows;
    rows.reserve(table.rows.size());
    for (const NetworkTableRow& row : table.rows) {
        rows.push_back(
            {{std::to_string(row.rank), row.name, row.bytesIn, row.bytesOut, row.total}, {}});
    }
    model_->setContent(table.columns, std::move(rows), activeColours(this));
    view_->setEmptyText(qtText(table.emptyText.value_or("")),
                        resolvedColor(DashboardColor::secondary, this));
}

}  // namespace ostrel
