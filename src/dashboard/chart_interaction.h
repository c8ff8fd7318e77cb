#pragma once

#include <optional>
#include <string>
#include <utility>

#include "dashboard/chart_geometry.h"

namespace ostrel {

// What a release of the pointer asks of the model: a pin for a click, a zoom for a drag of 30
// seconds or more, or nothing.
struct ChartGesture {
    std::optional<Date> pin;
    std::optional<DateRange> zoom;

    bool operator==(const ChartGesture&) const = default;
};

// The pointer on one chart: hover, click and drag over its plot area. The widget forwards its
// events with the chart's current geometry and paints from the state here.
class ChartInteraction {
  public:
    // Outside a press: the hovered date, clamped to the data, follows the pointer.
    void move(const ChartGeometry& geometry, double x, double y);
    void leave() { selectedDate_.reset(); }
    // A press outside the plot area starts nothing.
    void press(const ChartGeometry& geometry, double x, double y);
    ChartGesture release(const ChartGeometry& geometry, double x, double y);

    const std::optional<Date>& selectedDate() const { return selectedDate_; }
    bool isDragging() const { return drag_ && drag_->isDragging(); }
    // The drag's start and current dates, for the drag label; absent while not dragging.
    std::optional<std::pair<Date, Date>> dragDates(const ChartGeometry& geometry) const;

  private:
    std::optional<Date> selectedDate_;
    std::optional<ChartDrag> drag_;
};

// Whether a chart set the pin and so shows the close button rather than a linked tooltip.
inline bool isPinOrigin(const std::optional<std::string>& pinnedChartID,
                        const std::string& identifier) {
    return pinnedChartID == identifier;
}

}  // namespace ostrel
