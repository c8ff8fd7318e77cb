#include "gui/dashboard/charts/chart_card.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include "gui/dashboard/charts/dashboard_chart_view.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/icons/symbol_icons.h"

namespace ostrel {
namespace {

constexpr int kPadding = 10;
constexpr double kCornerRadius = 8;

}  // namespace

ChartCard::ChartCard(const QString& title, const QString& helpText, DashboardChartView* chart,
                     int chartHeight, QWidget* parent)
    : QFrame(parent),
      title_(new QLabel(title)),
      subtitle_(new QLabel),
      info_(new QLabel),
      chart_(chart) {
    QFont bold = title_->font();
    bold.setBold(true);
    title_->setFont(bold);
    info_->setToolTip(helpText);
    subtitle_->hide();

    auto* header = new QHBoxLayout;
    header->setSpacing(6);
    header->addWidget(title_);
    header->addWidget(info_);
    header->addStretch(1);
    header->addWidget(subtitle_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    layout->setSpacing(6);
    layout->addLayout(header);
    chart_->setParent(this);
    chart_->setFixedHeight(chartHeight);
    layout->addWidget(chart_);
    applyPalette();
}

void ChartCard::setSubtitle(const QString& subtitle) {
    subtitle_->setText(subtitle);
    subtitle_->setVisible(!subtitle.isEmpty());
}

void ChartCard::applyPalette() {
    info_->setPixmap(
        symbolIcon("info.circle", resolvedColor(DashboardColor::secondary, palette())).pixmap(14));
    QPalette secondary = subtitle_->palette();
    secondary.setColor(QPalette::WindowText, resolvedColor(DashboardColor::secondary, palette()));
    subtitle_->setPalette(secondary);
}

void ChartCard::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::Mid), 0.8));
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), kCornerRadius,
                            kCornerRadius);
}

void ChartCard::changeEvent(QEvent* event) {
    QFrame::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) applyPalette();
}

}  // namespace ostrel
