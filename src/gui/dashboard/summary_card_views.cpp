#include "gui/dashboard/summary_card_views.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include "gui/dashboard/dashboard_palette.h"
#include "gui/dashboard/dashboard_widgets.h"
#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel {

using namespace DashboardWidgets;

namespace {

constexpr int kIconSize = 16;

void setSymbol(QLabel* icon, std::string_view name, DashboardColor color) {
    icon->setPixmap(symbolIcon(name, resolvedColor(color, icon->palette())).pixmap(kIconSize));
}

QHBoxLayout* headerRow(QLabel* icon, QLabel* title) {
    auto* row = new QHBoxLayout;
    row->setSpacing(6);
    icon->setFixedSize(kIconSize, kIconSize);
    row->addWidget(icon);
    row->addWidget(title);
    row->addStretch();
    return row;
}

void showValue(QLabel* label, ColorLabel* value, const SummaryValue& shown) {
    label->setText(qtText(shown.label));
    value->setText(qtText(shown.value));
    value->setColor(shown.color);
}

}  // namespace

SummaryStatCardView::SummaryStatCardView(QWidget* parent) : QFrame(parent) {
    styleAsCard(this);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(12, 10, 12, 10);
    icon_ = new QLabel;
    title_ = label("", DashboardColor::primary, 1.0, true);
    column->addLayout(headerRow(icon_, title_));
    auto* values = new QGridLayout;
    values->setHorizontalSpacing(10);
    primaryLabel_ = label("", DashboardColor::secondary, 0.9);
    primaryValue_ = label("", DashboardColor::primary, 1.25, true);
    secondaryLabel_ = label("", DashboardColor::secondary, 0.9);
    secondaryValue_ = label("", DashboardColor::primary, 1.25, true);
    values->addWidget(primaryLabel_, 0, 0);
    values->addWidget(secondaryLabel_, 0, 1);
    values->addWidget(primaryValue_, 1, 0);
    values->addWidget(secondaryValue_, 1, 1);
    column->addLayout(values);
    detail_ = label("", DashboardColor::secondary, 0.9);
    column->addWidget(detail_);
}

void SummaryStatCardView::display(const SummaryStatCard& card) {
    setSymbol(icon_, card.icon, card.iconColor);
    title_->setText(qtText(card.title));
    showValue(primaryLabel_, primaryValue_, card.primary);
    showValue(secondaryLabel_, secondaryValue_, card.secondary);
    detail_->setVisible(card.detail.has_value());
    detail_->setText(qtText(card.detail.value_or("")));
}

TopConsumerCardView::TopConsumerCardView(QWidget* parent) : QFrame(parent) {
    styleAsCard(this);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(12, 10, 12, 10);
    icon_ = new QLabel;
    title_ = label("", DashboardColor::secondary, 0.9, true);
    column->addLayout(headerRow(icon_, title_));
    name_ = label("", DashboardColor::primary, 1.25, true);
    column->addWidget(name_);
    auto* figures = new QHBoxLayout;
    cpu_ = label("", DashboardColor::orange);
    memory_ = label("", DashboardColor::purple);
    figures->addWidget(cpu_);
    figures->addWidget(memory_);
    figures->addStretch();
    column->addLayout(figures);
}

void TopConsumerCardView::display(const TopConsumerCard& card) {
    setSymbol(icon_, card.icon, DashboardColor::yellow);
    title_->setText(qtText(card.title));
    name_->setText(qtText(card.name));
    cpu_->setText(qtText(card.cpu));
    memory_->setText(qtText(card.memory));
}

}  // namespace ostrel
