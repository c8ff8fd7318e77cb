#include "gui/dashboard/charts/chart_time_axis.h"

#include <QCategoryAxis>
#include <QDateTime>
#include <array>
#include <cmath>

namespace ostrel {
namespace {

constexpr int kMostLabels = 6;

// Round steps in seconds, from a minute to a week.
constexpr std::array<double, 14> kSteps{60,   120,   300,   600,   900,   1800,  3600,
                                        7200, 10800, 14400, 21600, 43200, 86400, 604800};

double stepFor(double span) {
    for (const double step : kSteps)
        if (span / step <= kMostLabels) return step;
    return kSteps.back();
}

// The offset that makes the ticks fall on the zone's round hours.
double offsetFromGMT(double at, const std::optional<SourceTimeZone>& zone) {
    if (zone) return zone->secondsFromGMT;
    return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(at)).offsetFromUtc();
}

}  // namespace

void setTimeAxis(QCategoryAxis& axis, const std::optional<DateRange>& domain,
                 const std::optional<SourceTimeZone>& zone) {
    for (const QString& label : axis.categoriesLabels())
        axis.remove(label);
    if (!domain) {
        axis.setRange(0, 1);
        return;
    }
    double start = axisValue(domain->start);
    double end = axisValue(domain->end);
    // One moment: a minute around it, so that the point sits in the middle as the geometry has it.
    if (end <= start) {
        start -= 30;
        end += 30;
    }
    const double step = stepFor(end - start);
    const double offset = offsetFromGMT(start, zone);
    const char* pattern = step >= 86400 ? "MMM d" : "h:mm a";
    axis.setStartValue(start);
    for (double tick = std::ceil((start + offset) / step) * step - offset; tick <= end;
         tick += step) {
        const Date date{std::chrono::seconds(static_cast<int64_t>(tick))};
        axis.append(QString::fromStdString(formatDate(date, pattern, zone)), tick);
    }
    axis.setRange(start, end);
}

}  // namespace ostrel
