#include "gui/dashboard/analysis/compact_process_table.h"

#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "gui/dashboard/analysis/compact_table_model.h"
#include "gui/dashboard/analysis/compact_table_view.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/dashboard/dashboard_widgets.h"
#include "gui/dashboard/section_widgets.h"
#include "gui/settings/qt_text.h"

namespace ostrel {

using namespace SectionWidgets;

namespace {

constexpr double kChipOpacity = 0.1;

std::vector<CompactTableModel::Row> modelRows(const std::vector<ProcessTableRow>& rows) {
    std::vector<CompactTableModel::Row> cells;
    cells.reserve(rows.size());
    for (const ProcessTableRow& row : rows) {
        cells.push_back(
            {{std::to_string(row.rank), row.name, row.value, row.peak, row.presence, row.impact},
             row.impactColor});
    }
    return cells;
}

}  // namespace

CompactProcessTable::CompactProcessTable(Build build, QWidget* parent)
    : QFrame(parent), build_(std::move(build)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 8, 10, 8);
    layout->setSpacing(6);
    headingRow_ = new QHBoxLayout;
    headingRow_->setSpacing(4);
    heading_ = addHeading(headingRow_);
    headingRow_->addStretch();  // the chips follow
    layout->addLayout(headingRow_);

    model_ = new CompactTableModel(this);
    view_ = new CompactTableView(model_);
    connect(view_->horizontalHeader(), &QHeaderView::sectionClicked, this, [this](int section) {
        const std::vector<TableColumn>& columns = model_->columns();
        if (section < 0 || static_cast<size_t>(section) >= columns.size()) return;
        if (const auto mode = columns[static_cast<size_t>(section)].sortMode) {
            sortMode_ = *mode;
            refresh();
        }
    });
    layout->addWidget(view_);
    layout->addStretch();
}

void CompactProcessTable::refresh() {
    const ProcessTable table = build_(filterMode_, sortMode_);
    // Again for a new palette: a style sheet takes the palette's colours when it is set.
    DashboardWidgets::styleAsCard(this);
    showHeading(heading_, table.icon, resolvedColor(table.iconColor, this), table.title);
    showChips(table.chips);
    model_->setContent(table.columns, modelRows(table.rows), activeColours(this));
    view_->setEmptyText(qtText(table.emptyText.value_or("")),
                        resolvedColor(DashboardColor::secondary, this));
}

void CompactProcessTable::showChips(const std::vector<FilterChip>& chips) {
    chipModes_.clear();
    for (size_t i = 0; i < chips.size(); ++i) {
        if (i == chips_.size()) {
            auto* chip = new QPushButton;
            chip->setCursor(Qt::PointingHandCursor);
            chip->setFocusPolicy(Qt::NoFocus);
            QFont font = chip->font();
            font.setPointSizeF(font.pointSizeF() * 0.8);
            chip->setFont(font);
            connect(chip, &QPushButton::clicked, this, [this, i] {
                filterMode_ = chipModes_[i];
                refresh();
            });
            headingRow_->addWidget(chip);
            chips_.push_back(chip);
        }
        const FilterChip& model = chips[i];
        chipModes_.push_back(model.mode);
        const QColor color = resolvedColor(model.color, this);
        chips_[i]->setText(qtText(model.label));
        chips_[i]->setStyleSheet(
            QStringLiteral("QPushButton { color: %1; background: %2; border: none; "
                           "border-radius: 6px; padding: 1px 7px; }")
                .arg(model.isSelected ? QStringLiteral("white") : styleColor(color),
                     model.isSelected ? styleColor(color) : styleColor(color, kChipOpacity)));
    }
}

}  // namespace ostrel
