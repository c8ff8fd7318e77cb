#pragma once

#include <QChartView>
#include <QPixmap>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "dashboard/chart_geometry.h"
#include "dashboard/chart_interaction.h"
#include "dashboard/dashboard_charts.h"
#include "dashboard/dashboard_dates.h"
#include "gui/dashboard/charts/chart_tooltip.h"
#include "gui/dashboard/charts/eased_moment.h"

class QCategoryAxis;
class QValueAxis;
class QAbstractSeries;

namespace ostrel {

// What a chart asks of its owner: a zoom for a drag, a pin (or none, from the close button).
struct ChartActions {
    std::function<void(Date from, Date to)> onZoomSelection;
    std::function<void(const std::optional<Date>& date)> onPinDate;
};

// The interaction every chart kind shares, over a Qt chart: the hovered moment's line and
// tooltip following the pointer, a click that pins, a drag of 10 pixels or more that zooms, and
// the pin's line and tooltip (with a close button on the chart that set it, the pin sign on
// every other). These are painted over the chart, so that moving the pin or the pointer redraws
// without touching the series; the kinds rebuild their series only when their data change.
class DashboardChartView : public QChartView {
  public:
    explicit DashboardChartView(std::string identifier, QWidget* parent = nullptr);

    const std::string& identifier() const { return identifier_; }
    void setActions(ChartActions actions) { actions_ = std::move(actions); }
    void setPin(const std::optional<Date>& date, bool isOrigin);
    void setSourceTimezone(const std::optional<SourceTimeZone>& zone);

    const std::optional<Date>& pinnedDate() const { return pinnedDate_; }
    bool isPinOrigin() const { return isPinOrigin_; }
    // The pin's tooltip as it is drawn; absent with no pin or no data.
    std::optional<TooltipContent> pinTooltip() const;
    // The hovered moment's tooltip; absent when nothing is hovered.
    std::optional<TooltipContent> hoverTooltip() const;
    // Where the last paint put the origin's close button, in the widget's pixels.
    QRectF closeButton() const { return closeButton_; }
    // The plot area and the data's dates, as the pointer is read.
    ChartGeometry chartGeometry() const;

  protected:
    // Fills the chart from the kind's data and the current palette.
    virtual void rebuildSeries() = 0;
    // The rows of the tooltip at `date` (the points nearest to it); absent with no data.
    virtual std::optional<TooltipContent> tooltipAt(Date date, bool isLinked) const = 0;
    // The CPU chart shows how long the dragged span is.
    virtual bool showsDragDuration() const { return false; }

    // The kinds call this when their data change: spans the x axis over `series` and rebuilds.
    void showData(std::span<const ChartSeries> series);
    // The y axis: `domain`, else from zero (or the lowest value) to the largest in `series`.
    void setYRange(const std::optional<ValueRange>& domain, std::span<const ChartSeries> series);
    // Adds a series on the chart's two axes.
    void attach(QAbstractSeries* series, bool inLegend = true);
    // Follows the y axis' labels ("80%").
    void setYUnit(const QString& unit) { yUnit_ = unit; }
    const std::optional<SourceTimeZone>& sourceTimezone() const { return zone_; }

    // The chart as a picture, drawn again only when Qt Charts changes it, with the overlays
    // over it: Qt's fill of an area of a few hundred points costs tens of milliseconds, too
    // much to repeat at each move of the pin or the pointer.
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void applyPalette();
    void paintOverlays(QPainter* painter);
    void paintDrag(QPainter& painter, const ChartGeometry& geometry);

    std::string identifier_;
    ChartActions actions_;
    ChartInteraction interaction_;
    std::optional<DateRange> domain_;
    std::optional<SourceTimeZone> zone_;
    std::optional<Date> pinnedDate_;
    bool isPinOrigin_ = false;
    // Where the lines are drawn: the tooltips read the moments themselves, the lines glide.
    EasedMoment pinLine_;
    EasedMoment hoverLine_;
    QPixmap picture_;
    bool pictureIsStale_ = true;
    QRectF pinFrame_;
    QRectF closeButton_;
    QCategoryAxis* xAxis_;
    QValueAxis* yAxis_;
    QString yUnit_;
};

}  // namespace ostrel
