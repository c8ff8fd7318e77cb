#include "dashboard/chart_interaction.h"

namespace ostrel {

void ChartInteraction::move(const ChartGeometry& geometry, double x, double y) {
    if (drag_) {
        drag_->moveTo(x, y);
        return;
    }
    selectedDate_ = geometry.contains(x, y) ? geometry.dateUnderPointer(x) : std::nullopt;
}

void ChartInteraction::press(const ChartGeometry& geometry, double x, double y) {
    if (geometry.contains(x, y)) drag_.emplace(x, y);
}

ChartGesture ChartInteraction::release(const ChartGeometry& geometry, double x, double y) {
    if (!drag_) return {};
    drag_->moveTo(x, y);
    ChartGesture gesture;
    if (drag_->isDragging()) {
        gesture.zoom = drag_->zoomSelection(geometry);
    } else {
        // A click always pins the moment under the pointer; it never toggles.
        gesture.pin = geometry.dateUnderPointer(x);
    }
    const bool dragged = drag_->isDragging();
    drag_.reset();
    // The hover held still during the drag; it takes up the pointer where the drag ended.
    if (dragged) move(geometry, x, y);
    return gesture;
}

std::optional<std::pair<Date, Date>> ChartInteraction::dragDates(
    const ChartGeometry& geometry) const {
    if (!drag_) return std::nullopt;
    return drag_->draggedDates(geometry);
}

}  // namespace ostrel
