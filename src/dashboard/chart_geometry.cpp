#include "dashboard/chart_geometry.h"

#include <algorithm>
#include <cmath>

#include "dashboard/dashboard_view_model.h"

namespace ostrel {

ChartGeometry::ChartGeometry(PlotArea plot, std::span<const ChartSeries> series)
    : ChartGeometry(plot, xDomainOf(series)) {}

ChartGeometry::ChartGeometry(PlotArea plot, std::optional<DateRange> xDomain)
    : plot_(plot), xDomain_(xDomain) {}

std::optional<DateRange> ChartGeometry::xDomainOf(std::span<const ChartSeries> series) {
    std::optional<DateRange> domain;
    for (const ChartSeries& one : series) {
        for (const ChartPoint& point : one) {
            if (!domain) {
                domain = DateRange{point.date, point.date};
            } else {
                domain->start = std::min(domain->start, point.date);
                domain->end = std::max(domain->end, point.date);
            }
        }
    }
    return domain;
}

std::optional<double> ChartGeometry::xForDate(Date date) const {
    if (!xDomain_) return std::nullopt;
    const double span = secondsBetween(xDomain_->start, xDomain_->end);
    if (span <= 0) return plot_.left + plot_.width / 2;
    return plot_.left + plot_.width * secondsBetween(xDomain_->start, date) / span;
}

std::optional<Date> ChartGeometry::dateAtX(double x) const {
    if (!xDomain_) return std::nullopt;
    if (plot_.width <= 0) return xDomain_->start;
    const double fraction = (x - plot_.left) / plot_.width;
    const auto offset =
        std::chrono::duration<double>(fraction * secondsBetween(xDomain_->start, xDomain_->end));
    return xDomain_->start + std::chrono::round<Date::duration>(offset);
}

Date ChartGeometry::clampToDataBounds(Date date) const {
    if (!xDomain_) return date;
    return std::clamp(date, xDomain_->start, xDomain_->end);
}

std::optional<Date> ChartGeometry::dateUnderPointer(double x) const {
    const auto date = dateAtX(x);
    if (!date) return std::nullopt;
    return clampToDataBounds(*date);
}

bool ChartGeometry::contains(double x, double y) const {
    return x >= plot_.left && x <= plot_.left + plot_.width && y >= plot_.top &&
           y <= plot_.top + plot_.height;
}

std::optional<size_t> findClosest(const ChartSeries& series, Date date) {
    std::optional<size_t> closest;
    double best = 0;
    for (size_t i = 0; i < series.size(); ++i) {
        const double distance = std::abs(secondsBetween(series[i].date, date));
        // Strictly nearer only: the first of equal distances stays.
        if (!closest || distance < best) {
            closest = i;
            best = distance;
        }
    }
    return closest;
}

std::vector<std::optional<size_t>> findClosestData(std::span<const ChartSeries> series, Date date) {
    std::vector<std::optional<size_t>> closest;
    closest.reserve(series.size());
    for (const ChartSeries& one : series)
        closest.push_back(findClosest(one, date));
    return closest;
}

void ChartDrag::moveTo(double x, double y) {
    currentX_ = x;
    currentY_ = y;
    if (std::hypot(x - pressX_, y - pressY_) >= minimumDistance) isDragging_ = true;
}

std::optional<std::pair<Date, Date>> ChartDrag::draggedDates(const ChartGeometry& geometry) const {
    if (!isDragging_) return std::nullopt;
    const auto from = geometry.dateUnderPointer(pressX_);
    const auto to = geometry.dateUnderPointer(currentX_);
    if (!from || !to) return std::nullopt;
    return std::pair{*from, *to};
}

std::optional<DateRange> ChartDrag::zoomSelection(const ChartGeometry& geometry) const {
    const auto dates = draggedDates(geometry);
    if (!dates) return std::nullopt;
    const auto [start, end] = std::minmax(dates->first, dates->second);
    // The model refuses a shorter window in any case; the chart does not even ask.
    if (secondsBetween(start, end) < DashboardViewModel::minimumZoomSeconds) return std::nullopt;
    return DateRange{start, end};
}

}  // namespace ostrel
