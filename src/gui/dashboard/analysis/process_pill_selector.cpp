#include "gui/dashboard/analysis/process_pill_selector.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>

#include "gui/dashboard/analysis/process_pill_pop_over.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/dashboard/section_widgets.h"
#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel {

using SectionWidgets::styleColor;

ProcessPillSelector::ProcessPillSelector(OnSelect onSelect, QWidget* parent)
    : QFrame(parent), onSelect_(std::move(onSelect)) {
    setObjectName(QStringLiteral("pill"));
    setCursor(Qt::PointingHandCursor);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(10, 3, 8, 3);
    layout->setSpacing(5);
    search_ = new QLabel;
    layout->addWidget(search_);
    text_ = new QLabel;
    text_->setTextFormat(Qt::PlainText);
    layout->addWidget(text_);
    chevron_ = new QLabel;
    layout->addWidget(chevron_);
}

void ProcessPillSelector::display(const std::string& pillText, std::vector<std::string> patterns,
                                  std::optional<std::string> selected) {
    text_->setText(qtText(pillText));
    patterns_ = std::move(patterns);
    selected_ = std::move(selected);
    restyle();
}

void ProcessPillSelector::restyle() {
    const QColor primary = resolvedColor(DashboardColor::primary, palette());
    const QColor purple = resolvedColor(DashboardColor::purple, palette());
    const QColor secondary = resolvedColor(DashboardColor::secondary, palette());
    const QColor signs = selected_ ? purple : secondary;
    search_->setPixmap(symbolIcon("magnifyingglass", signs).pixmap(12, 12));
    chevron_->setPixmap(symbolIcon("chevron.down", signs).pixmap(10, 10));
    const QString background = selected_ ? styleColor(purple, 0.12) : QStringLiteral("transparent");
    const QString border = selected_     ? styleColor(purple, 0.4)
                           : isHovering_ ? styleColor(primary, 0.15)
                                         : styleColor(primary, 0.08);
    // Named, so that the labels inside keep their own look.
    setStyleSheet(QStringLiteral("QFrame#pill { background: %1; border: 1px solid %2; "
                                 "border-radius: 11px; }")
                      .arg(background, border));
}

void ProcessPillSelector::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        openPopOver();
}

void ProcessPillSelector::enterEvent(QEnterEvent* event) {
    QFrame::enterEvent(event);
    isHovering_ = true;
    restyle();
}

void ProcessPillSelector::leaveEvent(QEvent* event) {
    QFrame::leaveEvent(event);
    isHovering_ = false;
    restyle();
}

void ProcessPillSelector::openPopOver() {
    auto* popOver = new ProcessPillPopOverView(patterns_, selected_, onSelect_, this);
    popOver->move(mapToGlobal(QPoint(0, height() + 4)));
    popOver->show();
}

}  // namespace ostrel
