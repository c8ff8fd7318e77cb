#pragma once

#include <optional>

#include "dashboard/chart_geometry.h"
#include "dashboard/dashboard_dates.h"

class QCategoryAxis;

namespace ostrel {

// The x value a date is drawn at.
inline double axisValue(Date date) {
    return epochSeconds(date);
}

// Spans the axis over `domain` exactly, so that it agrees with the chart's geometry, with a
// label at each round time ("2:00 PM") read in the source's zone, about five across.
void setTimeAxis(QCategoryAxis& axis, const std::optional<DateRange>& domain,
                 const std::optional<SourceTimeZone>& zone);

}  // namespace ostrel
