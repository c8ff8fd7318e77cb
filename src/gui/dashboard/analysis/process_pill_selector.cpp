#include "gui/dashboard/analysis/process_pill_selector.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>

#include "gui/dashboard/analysis/process_pill_pop_over.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/icons/symbol_icons.h"
#include "gui/settings/qt_text.h"

namespace ostrel {

namespace {

constexpr double kBorderOpacity = 0.08;
constexpr double kHoveredBorderOpacity = 0.15;
constexpr double kSelectedFillOpacity = 0.12;
constexpr double kSelectedBorderOpacity = 0.4;

}  // namespace

ProcessPillSelector::ProcessPillSelector(OnSelect onSelect, QWidget* parent)
    : QWidget(parent), onSelect_(std::move(onSelect)) {
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
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
    const QColor signs =
        resolvedColor(selected_ ? DashboardColor::purple : DashboardColor::secondary, this);
    search_->setPixmap(symbolIcon("magnifyingglass", signs).pixmap(12, 12));
    chevron_->setPixmap(symbolIcon("chevron.down", signs).pixmap(10, 10));
    update();
}

void ProcessPillSelector::paintEvent(QPaintEvent*) {
    // Painted rather than styled: a style sheet would hold on to the palette it was set with.
    QColor fill = Qt::transparent;
    QColor border = resolvedColor(DashboardColor::primary, this);
    // Focus shows as hover does, so that the keyboard finds the pill.
    border.setAlphaF(isHovering_ || hasFocus() ? kHoveredBorderOpacity : kBorderOpacity);
    if (selected_) {
        fill = border = resolvedColor(DashboardColor::purple, this);
        fill.setAlphaF(kSelectedFillOpacity);
        border.setAlphaF(kSelectedBorderOpacity);
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(border, 1));
    painter.setBrush(fill);
    const QRectF pill = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.drawRoundedRect(pill, pill.height() / 2, pill.height() / 2);
}

void ProcessPillSelector::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        openPopOver();
}

void ProcessPillSelector::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Space:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            openPopOver();
            return;
        default:
            QWidget::keyPressEvent(event);
    }
}

void ProcessPillSelector::enterEvent(QEnterEvent* event) {
    QWidget::enterEvent(event);
    isHovering_ = true;
    update();
}

void ProcessPillSelector::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    isHovering_ = false;
    update();
}

void ProcessPillSelector::openPopOver() {
    auto* popOver = new ProcessPillPopOverView(patterns_, selected_, onSelect_, this);
    popOver->move(mapToGlobal(QPoint(0, height() + 4)));
    popOver->show();
}

}  // namespace ostrel
