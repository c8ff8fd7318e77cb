#include "gui/dashboard/charts/dashboard_chart_view.h"

#include <QCategoryAxis>
#include <QGraphicsLayout>
#include <QGraphicsScene>
#include <QLegendMarker>
#include <QMouseEvent>
#include <QPainter>
#include <QValueAxis>
#include <algorithm>
#include <cmath>

#include "dashboard/chart_formatters.h"
#include "gui/dashboard/charts/chart_time_axis.h"
#include "gui/dashboard/dashboard_palette.h"
#include "gui/icons/symbol_icons.h"

namespace ostrel {
namespace {

constexpr double kTooltipInset = 4;

QFont smallFont(const QWidget& widget) {
    QFont font = widget.font();
    font.setPointSizeF(std::max(7.0, font.pointSizeF() - 1.5));
    return font;
}

}  // namespace

DashboardChartView::DashboardChartView(std::string identifier, QWidget* parent)
    : QChartView(parent),
      identifier_(std::move(identifier)),
      pinLine_(100, [this] { viewport()->update(); }),
      hoverLine_(150, [this] { viewport()->update(); }),
      xAxis_(new QCategoryAxis),
      yAxis_(new QValueAxis) {
    setFrameShape(QFrame::NoFrame);
    setRenderHint(QPainter::Antialiasing);
    setMouseTracking(true);
    viewport()->setMouseTracking(true);
    // Qt Charts tells of every change of its drawing through the scene, after the fact.
    connect(scene(), &QGraphicsScene::changed, this, [this] {
        pictureIsStale_ = true;
        viewport()->update();
    });
    QChart* shown = chart();
    shown->setMargins(QMargins(2, 4, 6, 2));
    shown->layout()->setContentsMargins(0, 0, 0, 0);
    shown->setBackgroundRoundness(0);
    shown->legend()->setAlignment(Qt::AlignTop);
    xAxis_->setLabelsPosition(QCategoryAxis::AxisLabelsPositionOnValue);
    xAxis_->setTruncateLabels(false);
    shown->addAxis(xAxis_, Qt::AlignBottom);
    shown->addAxis(yAxis_, Qt::AlignLeft);
    applyPalette();
}

void DashboardChartView::setPin(const std::optional<Date>& date, bool isOrigin) {
    if (pinnedDate_ == date && isPinOrigin_ == isOrigin) return;
    pinnedDate_ = date;
    isPinOrigin_ = isOrigin;
    pinLine_.moveTo(date);
    viewport()->update();
}

void DashboardChartView::setSourceTimezone(const std::optional<SourceTimeZone>& zone) {
    if (zone_ == zone) return;
    zone_ = zone;
    setTimeAxis(*xAxis_, domain_, zone_);
    viewport()->update();
}

ChartGeometry DashboardChartView::chartGeometry() const {
    const QRectF plot = chart()->plotArea();
    return ChartGeometry(PlotArea{plot.left(), plot.top(), plot.width(), plot.height()}, domain_);
}

std::optional<TooltipContent> DashboardChartView::pinTooltip() const {
    if (!pinnedDate_) return std::nullopt;
    auto content = tooltipAt(*pinnedDate_, !isPinOrigin_);
    if (content) content->closable = isPinOrigin_;
    return content;
}

std::optional<TooltipContent> DashboardChartView::hoverTooltip() const {
    if (!interaction_.selectedDate() || interaction_.isDragging()) return std::nullopt;
    return tooltipAt(*interaction_.selectedDate(), false);
}

void DashboardChartView::showData(std::span<const ChartSeries> series) {
    domain_ = ChartGeometry::xDomainOf(series);
    setTimeAxis(*xAxis_, domain_, zone_);
    rebuildSeries();
    viewport()->update();
}

void DashboardChartView::setYRange(const std::optional<ValueRange>& domain,
                                   std::span<const ChartSeries> series) {
    if (domain) {
        yAxis_->setRange(domain->lower, domain->upper);
        // A small whole span ticks at each whole value (0 to 4: five ticks), else in quarters.
        const double span = domain->upper - domain->lower;
        const bool whole = span == std::floor(span) && span <= 10;
        yAxis_->setTickCount(whole ? static_cast<int>(span) + 1 : 5);
    } else {
        double lower = 0, upper = 0;
        for (const ChartSeries& one : series) {
            for (const ChartPoint& point : one) {
                lower = std::min(lower, point.value);
                upper = std::max(upper, point.value);
            }
        }
        yAxis_->setRange(lower, upper > lower ? upper : lower + 1);
        yAxis_->setTickCount(5);
        yAxis_->applyNiceNumbers();
    }
    const double step = (yAxis_->max() - yAxis_->min()) / std::max(1, yAxis_->tickCount() - 1);
    const bool wholeNumbers =
        step == std::floor(step) && yAxis_->min() == std::floor(yAxis_->min());
    // The label format is printf's: a unit's own percent sign is doubled.
    yAxis_->setLabelFormat(QString(wholeNumbers ? "%.0f" : "%.1f") +
                           QString(yUnit_).replace('%', QStringLiteral("%%")));
}

void DashboardChartView::attach(QAbstractSeries* series, bool inLegend) {
    chart()->addSeries(series);
    series->attachAxis(xAxis_);
    series->attachAxis(yAxis_);
    if (!inLegend) {
        for (QLegendMarker* marker : chart()->legend()->markers(series))
            marker->setVisible(false);
    }
}

void DashboardChartView::applyPalette() {
    const QPalette& colors = palette();
    QChart* shown = chart();
    shown->setBackgroundBrush(colors.color(QPalette::Base));
    shown->setBackgroundPen(Qt::NoPen);
    shown->legend()->setLabelColor(colors.color(QPalette::Text));
    shown->legend()->setFont(smallFont(*this));
    QColor grid = colors.color(QPalette::Text);
    grid.setAlpha(28);
    for (QAbstractAxis* axis :
         {static_cast<QAbstractAxis*>(xAxis_), static_cast<QAbstractAxis*>(yAxis_)}) {
        axis->setLabelsColor(resolvedColor(DashboardColor::secondary, colors));
        axis->setLabelsFont(smallFont(*this));
        axis->setGridLineColor(grid);
        axis->setLinePen(Qt::NoPen);
    }
}

void DashboardChartView::paintEvent(QPaintEvent*) {
    const qreal ratio = devicePixelRatioF();
    const QSize size = viewport()->size();
    if (pictureIsStale_ || picture_.size() != size * ratio) {
        picture_ = QPixmap(size * ratio);
        picture_.setDevicePixelRatio(ratio);
        picture_.fill(palette().color(QPalette::Base));
        QPainter painter(&picture_);
        painter.setRenderHints(renderHints());
        scene()->render(&painter, QRectF(QPointF(0, 0), size), sceneRect());
        pictureIsStale_ = false;
    }
    QPainter painter(viewport());
    painter.drawPixmap(0, 0, picture_);
    painter.setRenderHints(renderHints());
    paintOverlays(&painter);
}

void DashboardChartView::paintOverlays(QPainter* painter) {
    const ChartGeometry geometry = chartGeometry();
    if (!geometry.xDomain()) return;
    const QRectF plot = chart()->plotArea();
    const QRectF bounds = QRectF(viewport()->rect()).adjusted(2, 2, -2, -2);
    const QPalette& colors = palette();
    painter->save();
    painter->setFont(smallFont(*this));

    pinFrame_ = {};
    closeButton_ = {};
    const double top = plot.top() + kTooltipInset;
    const auto pin = pinTooltip();
    std::optional<TooltipLayout> pinLayout;
    if (pin) {
        const double x = *geometry.xForDate(geometry.clampToDataBounds(*pinLine_.shown()));
        painter->setPen(QPen(resolvedColor(DashboardColor::accent, colors), 1.5));
        painter->drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
        pinLayout = layoutTooltip(painter->font(), *pin, x, top, bounds);
        // Where the pointer stops hovering even while the tooltip gives way, so that the close
        // button can always be reached.
        pinFrame_ = pinLayout->frame;
    }
    const auto hover = hoverTooltip();
    std::optional<TooltipLayout> hoverLayout;
    if (hover) {
        const double x =
            *geometry.xForDate(hoverLine_.shown().value_or(*interaction_.selectedDate()));
        painter->setPen(QPen(resolvedColor(DashboardColor::secondary, colors), 1, Qt::DashLine));
        painter->drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
        // Below the pin's tooltip where both fit; where they would overlap, the hovered moment's
        // is the one being read, and the pin keeps only its line.
        hoverLayout =
            layoutTooltip(painter->font(), *hover, x,
                          pinLayout ? pinLayout->frame.bottom() + kTooltipInset : top, bounds);
        if (pinLayout && hoverLayout->frame.intersects(pinLayout->frame)) {
            pinLayout.reset();
            hoverLayout = layoutTooltip(painter->font(), *hover, x, top, bounds);
        }
    }
    if (pinLayout) {
        closeButton_ = paintTooltip(*painter, *pin, *pinLayout, colors);
    }
    if (hoverLayout) paintTooltip(*painter, *hover, *hoverLayout, colors);
    paintDrag(*painter, geometry);
    painter->restore();
}

void DashboardChartView::paintDrag(QPainter& painter, const ChartGeometry& geometry) {
    const auto dates = interaction_.dragDates(geometry);
    if (!interaction_.isDragging() || !dates) return;
    const QRectF plot = chart()->plotArea();
    const double from = *geometry.xForDate(dates->first);
    const double to = *geometry.xForDate(dates->second);
    QColor accent = resolvedColor(DashboardColor::accent, palette());
    QColor band = accent;
    band.setAlphaF(0.15);
    painter.fillRect(
        QRectF(QPointF(std::min(from, to), plot.top()), QPointF(std::max(from, to), plot.bottom())),
        band);

    const auto label =
        ChartFormatters::dragLabel(dates->first, dates->second, zone_, showsDragDuration());
    QString text = QString::fromStdString(label.from + " – " + label.to);
    if (label.duration)
        text += QStringLiteral("  (") + QString::fromStdString(*label.duration) + ')';
    const QFontMetricsF metrics(painter.font());
    const double iconSize = 12;
    const QSizeF size(metrics.horizontalAdvance(text) + iconSize + 20, metrics.height() + 8);
    const double middle = (from + to) / 2;
    const double left = std::clamp(middle - size.width() / 2, plot.left(),
                                   std::max(plot.left(), plot.right() - size.width()));
    const QRectF capsule(QPointF(left, plot.top() + 4), size);
    painter.setPen(Qt::NoPen);
    painter.setBrush(band);
    painter.drawRoundedRect(capsule, size.height() / 2, size.height() / 2);
    const QRectF icon(capsule.left() + 8, capsule.center().y() - iconSize / 2, iconSize, iconSize);
    painter.drawPixmap(icon, symbolIcon("selection.pin.in.out", accent).pixmap(24), QRectF());
    painter.setPen(resolvedColor(DashboardColor::primary, palette()));
    painter.drawText(capsule.adjusted(iconSize + 12, 0, -8, 0), Qt::AlignVCenter | Qt::AlignLeft,
                     text);
}

void DashboardChartView::mouseMoveEvent(QMouseEvent* event) {
    const QPointF at = event->position();
    // Over the pin's tooltip the pointer is heading for its close button: no hover there.
    if (pinFrame_.contains(at) && !interaction_.isDragging()) {
        interaction_.leave();
    } else {
        interaction_.move(chartGeometry(), at.x(), at.y());
    }
    hoverLine_.moveTo(interaction_.selectedDate());
    viewport()->update();
}

void DashboardChartView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    if (closeButton_.contains(event->position())) {
        if (actions_.onPinDate) actions_.onPinDate(std::nullopt);
        return;
    }
    interaction_.press(chartGeometry(), event->position().x(), event->position().y());
}

void DashboardChartView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    const ChartGesture gesture =
        interaction_.release(chartGeometry(), event->position().x(), event->position().y());
    viewport()->update();
    if (gesture.pin && actions_.onPinDate) actions_.onPinDate(gesture.pin);
    if (gesture.zoom && actions_.onZoomSelection)
        actions_.onZoomSelection(gesture.zoom->start, gesture.zoom->end);
}

void DashboardChartView::leaveEvent(QEvent* event) {
    interaction_.leave();
    hoverLine_.moveTo(std::nullopt);
    viewport()->update();
    QChartView::leaveEvent(event);
}

void DashboardChartView::resizeEvent(QResizeEvent* event) {
    QChartView::resizeEvent(event);
    viewport()->update();
}

void DashboardChartView::changeEvent(QEvent* event) {
    QChartView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        applyPalette();
        rebuildSeries();
    }
}

}  // namespace ostrel
