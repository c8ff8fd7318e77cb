#include "gui/dashboard/hero_stat_view.h"

#include <QVBoxLayout>

#include "gui/dashboard/dashboard_widgets.h"
#include "gui/dashboard/hero_sparkline.h"
#include "gui/settings/qt_text.h"

namespace ostrel {

using namespace DashboardWidgets;

HeroStatView::HeroStatView(QWidget* parent) : QFrame(parent) {
    styleAsCard(this);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(14, 10, 14, 10);
    column->setSpacing(4);
    title_ = label("", DashboardColor::secondary, 0.95, true);
    value_ = label("", DashboardColor::primary, 2.0, true);
    sparkline_ = new HeroSparkline;
    detail_ = label("", DashboardColor::secondary, 0.9);
    column->addWidget(title_);
    column->addWidget(value_);
    column->addWidget(sparkline_);
    column->addWidget(detail_);
}

void HeroStatView::display(const HeroStat& stat) {
    title_->setText(qtText(stat.title));
    value_->setText(qtText(stat.value));
    value_->setColor(stat.color);
    sparkline_->display(stat.sparkline, stat.color);
    detail_->setText(qtText(stat.detail));
    setToolTip(qtText(stat.helpText));
}

}  // namespace ostrel
