#include "gui/dashboard/alerts/alert_card_view.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QVBoxLayout>

#include "gui/dashboard/dashboard_palette.h"
#include "gui/dashboard/dashboard_widgets.h"
#include "gui/dashboard/section_widgets.h"

namespace ostrel {

using namespace DashboardWidgets;
using SectionWidgets::styleColor;

namespace {

constexpr double kTintOpacity = 0.06;
constexpr double kBorderOpacity = 0.25;
constexpr int kProcessListWidth = 320;

// A titled list of processes with their pid and value.
QWidget* processList(const std::string& title, const std::vector<AlertProcessRow>& rows) {
    auto* widget = new QWidget;
    auto* grid = new QGridLayout(widget);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(2);
    using C = DashboardColor;
    grid->addWidget(label(title, C::secondary, 1.0, true), 0, 0, 1, 3);
    int line = 1;
    for (const AlertProcessRow& row : rows) {
        grid->addWidget(label(row.name), line, 0);
        grid->addWidget(label(std::to_string(row.pid), C::secondary), line, 1);
        QLabel* value = label(row.value);
        value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        grid->addWidget(value, line, 2);
        ++line;
    }
    grid->setColumnStretch(0, 1);
    // Close enough to read a name with its value.
    widget->setFixedWidth(kProcessListWidth);
    return widget;
}

}  // namespace

AlertCardView::AlertCardView(const AlertCard& card, std::function<void()> onToggle, QWidget* parent)
    : QFrame(parent), onToggle_(std::move(onToggle)), isExpanded_(card.isExpanded) {
    setCursor(Qt::PointingHandCursor);
    const QColor color = resolvedColor(card.color, this);
    setObjectName(QStringLiteral("alert"));
    setStyleSheet(QStringLiteral("QFrame#alert { background: %1; border: 1px solid %2; "
                                 "border-radius: 8px; }")
                      .arg(styleColor(color, kTintOpacity), styleColor(color, kBorderOpacity)));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 7, 10, 7);
    layout->setSpacing(6);
    auto* summary = new QHBoxLayout;
    summary->setSpacing(8);
    summary->addWidget(symbol(card.icon, card.color, 14));
    summary->addWidget(label(card.label, card.color, 1.0, true));
    QLabel* message = label(card.message);
    message->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    message->setToolTip(message->text());
    summary->addWidget(message, 1);
    summary->addWidget(label(card.time, DashboardColor::secondary));
    summary->addWidget(symbol(card.chevron, DashboardColor::secondary, 12));
    layout->addLayout(summary);
    if (card.isExpanded) layout->addWidget(details(card));
}

QWidget* AlertCardView::details(const AlertCard& card) {
    auto* widget = new QWidget;
    auto* layout = new QVBoxLayout(widget);
    layout->setContentsMargins(22, 0, 0, 2);
    layout->setSpacing(8);
    auto* figures = new QHBoxLayout;
    figures->setSpacing(6);
    figures->addWidget(label(card.value, card.color, 1.0, true));
    if (card.threshold) {
        figures->addSpacing(12);
        figures->addWidget(label(card.thresholdTitle, DashboardColor::secondary));
        figures->addWidget(label(*card.threshold));
    }
    figures->addStretch();
    layout->addLayout(figures);
    auto* lists = new QHBoxLayout;
    lists->setSpacing(32);
    if (!card.topCPUProcesses.empty())
        lists->addWidget(processList(card.topCPUTitle, card.topCPUProcesses));
    if (!card.topMemoryProcesses.empty())
        lists->addWidget(processList(card.topMemoryTitle, card.topMemoryProcesses));
    lists->addStretch();
    layout->addLayout(lists);
    return widget;
}

void AlertCardView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        onToggle_();
}

}  // namespace ostrel
