#include "gui/dashboard/analysis/process_selection_bar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "dashboard/process_selection.h"
#include "gui/dashboard/analysis/process_pill_selector.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/dashboard/dashboard_widgets.h"
#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel {
namespace {

constexpr double kPinOpacity = 0.8;

}  // namespace

using DashboardWidgets::ColorLabel;

ProcessSelectionBar::ProcessSelectionBar(DashboardViewModel& model, QWidget* parent)
    : DashboardSection(model, parent) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 4, 0, 4);
    row->setSpacing(8);
    pin_ = new QLabel;
    row->addWidget(pin_);
    title_ = new QLabel;
    QFont bold = title_->font();
    bold.setBold(true);
    title_->setFont(bold);
    row->addWidget(title_);
    none_ = new ColorLabel(DashboardColor::secondary);
    row->addWidget(none_);
    pill_ = new ProcessPillSelector(
        [this](const std::optional<std::string>& pattern) { model_.selectProcess(pattern); });
    row->addWidget(pill_);
    clear_ = new QPushButton;
    clear_->setFlat(true);
    clear_->setCursor(Qt::PointingHandCursor);
    connect(clear_, &QPushButton::clicked, this, [this] { model_.selectProcess(std::nullopt); });
    row->addWidget(clear_);
    row->addStretch();
    tracked_ = new ColorLabel(DashboardColor::secondary);
    row->addWidget(tracked_);

    refresh_.watch(model_.selectedProcess);
    // The patterns come with each load, which ends in a change of the charts.
    refresh_.watch(model_.objectWillChange);
    refresh();
}

void ProcessSelectionBar::refresh() {
    std::vector<std::string> patterns = model_.availableProcessPatterns();
    const std::optional<std::string>& selected = model_.selectedProcess.get();
    const ProcessSelectionBarContent bar = processSelectionBar(patterns, selected);

    QColor purple = resolvedColor(DashboardColor::purple, this);
    purple.setAlphaF(kPinOpacity);
    pin_->setPixmap(symbolIcon(bar.icon, purple).pixmap(14, 14));
    title_->setText(qtText(bar.title));
    none_->setText(qtText(bar.noneText));
    none_->setVisible(bar.noneAvailable);
    pill_->setVisible(!bar.noneAvailable);
    pill_->display(bar.pillText, std::move(patterns), selected);
    clear_->setText(qtText(bar.clearText));
    clear_->setVisible(!bar.noneAvailable && bar.isSelected);
    tracked_->setText(qtText(bar.trackedCount.value_or("")));
    tracked_->setVisible(bar.trackedCount.has_value());
}

}  // namespace ostrel
