// Zoom, day and pin selection.
#include <algorithm>

#include "dashboard/chart_data_builder.h"
#include "dashboard/dashboard_view_model.h"
#include "dashboard/downsample.h"

namespace ostrel {

void DashboardViewModel::setZoom(Date from, Date to) {
    // Every check goes by the usage series, the one each chart's range follows.
    const ChartSeries& usage = cached_.series.cpuUsage;
    if (usage.empty()) return;
    // Clamped before the length is checked, so a window that overlaps the data by less than
    // the smallest zoom is refused.
    const Date start = std::max(std::min(from, to), usage.front().date);
    const Date end = std::min(std::max(from, to), usage.back().date);
    if (secondsBetween(start, end) < minimumZoomSeconds) return;
    if (isZoomActive() && zoomStartDate_ == start && zoomEndDate_ == end) return;
    const auto inside = std::count_if(usage.begin(), usage.end(), [&](const ChartPoint& point) {
        return start <= point.date && point.date <= end;
    });
    if (inside < 2) return;

    zoomStartDate_ = start;
    zoomEndDate_ = end;
    setPinnedDate(std::nullopt, std::nullopt);
    rebuildZoomFilteredData();
    sendChange();
}

void DashboardViewModel::clearZoom() {
    if (!zoomStartDate_ && !zoomEndDate_) return;
    zoomStartDate_.reset();
    zoomEndDate_.reset();
    rebuildZoomFilteredData();
    sendChange();
}

void DashboardViewModel::rebuildZoomFilteredData() {
    // No debounce: each call cancels the rebuild before it and starts at once.
    if (zoomRebuildTask_) zoomRebuildTask_->cancelled = true;
    zoomRebuildTask_.reset();

    if (!isZoomActive()) {
        // Cheap enough for the main queue: the 200 points come from the 2000.
        zoomSeries_ = cached_.series.downsampled(maxChartPoints);
        zoomTopCPU_ = cached_.topCPU;
        zoomTopMemory_ = cached_.topMemory;
        zoomSummary_ = {};
        for (const auto member : ProcessSeries::kAll)
            zoomProcess_.*member = downsample(processSearch_.*member, maxChartPoints);
        return;
    }

    isZoomRebuilding.set(true);
    auto task = std::make_shared<ZoomRebuild>();
    zoomRebuildTask_ = task;
    inBackground(
        [samples = metrics.get(), start = *zoomStartDate_,
         end = *zoomEndDate_]() -> std::optional<CachedChartData> {
            // From the range's own samples, so that zooming in shows what the 200 points of
            // the whole source had dropped.
            std::vector<const ChartSample*> inRange;
            for (const ChartSample& sample : samples) {
                if (sample.date && start <= *sample.date && *sample.date <= end) {
                    inRange.push_back(&sample);
                }
            }
            if (inRange.empty()) return std::nullopt;
            return buildChartData(inRange, std::min(inRange.size(), maxZoomChartPoints));
        },
        [task](DashboardViewModel& self, std::optional<CachedChartData> data) {
            // A newer rebuild has started: this result is stale and writes nothing.
            if (task->cancelled) return;
            if (data) self.applyZoomData(std::move(*data));
            for (const auto member : ProcessSeries::kAll)
                self.zoomProcess_.*member = self.filterByZoom(self.processSearch_.*member);
            self.isZoomRebuilding.set(false);
            self.sendChange();
        });
}

void DashboardViewModel::applyZoomData(CachedChartData data) {
    // The other summary values keep describing the whole source.
    zoomSeries_ = std::move(data.series);
    zoomTopCPU_ = std::move(data.topCPU);
    zoomTopMemory_ = std::move(data.topMemory);
    zoomSummary_ = {data.avgMemoryUsedGB, data.peakMemoryUsedGB, data.thermalWarningCount,
                    data.memoryPressureEventCount};
}

ChartSeries DashboardViewModel::filterByZoom(const ChartSeries& series) const {
    if (!isZoomActive()) return downsample(series, maxChartPoints);
    ChartSeries inside;
    std::copy_if(series.begin(), series.end(), std::back_inserter(inside),
                 [&](const ChartPoint& point) {
                     return *zoomStartDate_ <= point.date && point.date <= *zoomEndDate_;
                 });
    return downsample(inside, maxChartPoints);
}

void DashboardViewModel::setSelectedDay(const std::optional<std::string>& day) {
    if (day == selectedDay_) return;
    selectedDay_ = day;
    // The load's chart rebuild refills the series.
    zoomStartDate_.reset();
    zoomEndDate_.reset();
    if (!externalSourcePath.get()) loadMetricsForDay(day);
}

bool DashboardViewModel::canNavigateDay(int offset) const {
    if (!selectedDay_) return false;
    const auto& days = availableDays.get();
    const auto found = std::find(days.begin(), days.end(), *selectedDay_);
    if (found == days.end()) return false;
    const auto target = (found - days.begin()) + offset;
    return target >= 0 && target < static_cast<ptrdiff_t>(days.size());
}

void DashboardViewModel::navigateDay(int offset) {
    if (!canNavigateDay(offset)) return;
    const auto& days = availableDays.get();
    const auto index = std::find(days.begin(), days.end(), *selectedDay_) - days.begin() + offset;
    setSelectedDay(days[static_cast<size_t>(index)]);
}

void DashboardViewModel::setPinnedDate(const std::optional<Date>& date,
                                       const std::optional<std::string>& chartID) {
    if (!date) {
        // Nothing to clear sends nothing.
        if (!pinnedDate.get()) return;
        pinnedDate.set(std::nullopt);
        pinnedChartID.set(std::nullopt);
        return;
    }
    // Monotonic time, so that a wall clock set back cannot hold the pin still.
    const Duration now = dispatcher_.clock().monotonic();
    const bool movesOwnPin = pinnedDate.get() && pinnedChartID.get() == chartID;
    // A move of the same chart's pin redraws every chart: at most ten a second. A pin from
    // another chart goes through at once.
    if (movesOwnPin && lastPinnedUpdate_ &&
        std::chrono::duration<double>(now - *lastPinnedUpdate_).count() < pinnedThrottleInterval) {
        return;
    }
    lastPinnedUpdate_ = now;
    pinnedDate.set(date);
    pinnedChartID.set(chartID);
}

}  // namespace ostrel
