#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "dashboard/chart_point.h"

namespace ostrel {

// A closed range of dates, `start` not after `end`.
struct DateRange {
    Date start;
    Date end;

    bool operator==(const DateRange&) const = default;
};

// The rectangle the data is drawn in, in the widget's pixels (y grows downwards).
struct PlotArea {
    double left = 0;
    double top = 0;
    double width = 0;
    double height = 0;

    bool operator==(const PlotArea&) const = default;
};

// Where a chart's data lies on screen, apart from its painting: the widget asks it for
// positions and dates and only paints and forwards the pointer.
class ChartGeometry {
  public:
    // The x domain is the earliest to the latest date over all `series`; with no point at all
    // there is none, and the drawing layer picks its own scale.
    ChartGeometry(PlotArea plot, std::span<const ChartSeries> series);
    ChartGeometry(PlotArea plot, std::optional<DateRange> xDomain);

    static std::optional<DateRange> xDomainOf(std::span<const ChartSeries> series);

    const PlotArea& plot() const { return plot_; }
    const std::optional<DateRange>& xDomain() const { return xDomain_; }

    // Linear over the domain; a domain of one moment maps to the plot's middle. Absent with no
    // domain.
    std::optional<double> xForDate(Date date) const;
    std::optional<Date> dateAtX(double x) const;
    // Limits a date to the domain; unchanged with none.
    Date clampToDataBounds(Date date) const;
    // The clamped date under a pointer at `x`, as hover, click and drag read it.
    std::optional<Date> dateUnderPointer(double x) const;
    bool contains(double x, double y) const;

  private:
    PlotArea plot_;
    std::optional<DateRange> xDomain_;
};

// The index of the point nearest to `date` by absolute distance, the first of equals; absent
// for an empty series.
std::optional<size_t> findClosest(const ChartSeries& series, Date date);
// The nearest point of each series, in the order of `series`.
std::vector<std::optional<size_t>> findClosestData(std::span<const ChartSeries> series, Date date);

// A press followed by moves: a drag once the pointer has gone 10 pixels from the press, a click
// if it never does.
class ChartDrag {
  public:
    static constexpr double minimumDistance = 10;  // pixels

    ChartDrag(double pressX, double pressY) : pressX_(pressX), pressY_(pressY) {}
    void moveTo(double x, double y);
    // Once true it stays true, as a gesture that started dragging does not turn into a click.
    bool isDragging() const { return isDragging_; }
    // The clamped dates of the press and of the pointer, for the drag label; absent until it
    // drags or with no domain.
    std::optional<std::pair<Date, Date>> draggedDates(const ChartGeometry& geometry) const;
    // At release: the window to zoom into, earlier date first, if it spans 30 seconds or more.
    std::optional<DateRange> zoomSelection(const ChartGeometry& geometry) const;

  private:
    double pressX_, pressY_;
    double currentX_ = pressX_, currentY_ = pressY_;
    bool isDragging_ = false;
};

}  // namespace ostrel
