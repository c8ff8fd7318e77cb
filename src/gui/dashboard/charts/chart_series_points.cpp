#include "gui/dashboard/charts/chart_series_points.h"

#include <algorithm>

#include "gui/dashboard/charts/chart_time_axis.h"

namespace ostrel {
namespace {

// The series' value at `x` along its line: held flat before its first and after its last point.
class LineReader {
  public:
    explicit LineReader(const ChartSeries& series) : series_(series) {}

    // `x` must not decrease from one call to the next.
    double at(double x) {
        if (series_.empty()) return 0;
        while (next_ < series_.size() && axisValue(series_[next_].date) < x)
            ++next_;
        if (next_ == 0) return series_.front().value;
        if (next_ == series_.size()) return series_.back().value;
        const double x0 = axisValue(series_[next_ - 1].date), x1 = axisValue(series_[next_].date);
        const double y0 = series_[next_ - 1].value, y1 = series_[next_].value;
        return x1 > x0 ? y0 + (y1 - y0) * (x - x0) / (x1 - x0) : y1;
    }

  private:
    const ChartSeries& series_;
    size_t next_ = 0;
};

}  // namespace

QList<QPointF> linePoints(const ChartSeries& series) {
    QList<QPointF> points;
    points.reserve(qsizetype(series.size()));
    for (const ChartPoint& point : series)
        points.append(QPointF(axisValue(point.date), point.value));
    return points;
}

StackedPoints stackedPoints(const ChartSeries& first, const ChartSeries& second) {
    std::vector<double> xs;
    xs.reserve(first.size() + second.size());
    for (const ChartSeries* series : {&first, &second})
        for (const ChartPoint& point : *series)
            xs.push_back(axisValue(point.date));
    std::ranges::sort(xs);
    xs.erase(std::unique(xs.begin(), xs.end()), xs.end());

    StackedPoints stacked;
    LineReader lower(first), upper(second);
    for (const double x : xs) {
        const double base = lower.at(x);
        stacked.lower.append(QPointF(x, base));
        stacked.upper.append(QPointF(x, base + upper.at(x)));
    }
    return stacked;
}

}  // namespace ostrel
