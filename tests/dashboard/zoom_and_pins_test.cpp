// Zoom, day and pin selection.
#include "dashboard_fixture.h"

namespace ostrel::testing {
namespace {

struct ZoomTest : DashboardTest {
    void SetUp() override {
        write("metrics-2026-11-22-10.jsonl", samples(kTen, 120));  // 10:00:00 to 10:03:58
        load();
        changes = 0;
        counting = model->objectWillChange.subscribe([&](uint64_t) { ++changes; });
    }
    int changes = 0;
    Published<uint64_t>::Subscription counting;
};

TEST_F(ZoomTest, TheWindowIsOrderedAndClampedBeforeItsLengthIsChecked) {
    // Overlapping the data by 10 seconds is refused, though the drag was long.
    model->setZoom(kTen - 10min, kTen + 10s);
    EXPECT_FALSE(model->isZoomActive());
    EXPECT_EQ(changes, 0);

    // Exactly 30 seconds zooms; the later date first gives the same window.
    model->setZoom(kTen + 30s, kTen);
    ASSERT_TRUE(model->isZoomActive());
    EXPECT_EQ(model->zoomStartDate(), kTen);
    EXPECT_EQ(model->zoomEndDate(), kTen + 30s);
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->zoomFilteredSeries().cpuUsage.size(), 16u);
    EXPECT_FALSE(model->isZoomRebuilding.get());

    // The same window again starts no rebuild.
    const int before = changes;
    model->setZoom(kTen, kTen + 30s);
    EXPECT_EQ(dispatcher.pendingTasks(), 0u);
    EXPECT_EQ(changes, before);

    // A range of 80 samples under the 500-point limit keeps every one of them.
    model->setZoom(kTen + 40s, kTen + 40s + 158s);
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->zoomFilteredSeries().cpuUsage.size(), 80u);
    EXPECT_EQ(model->peakCpuUsage()->first, 10 + 99 + 5);

    model->clearZoom();
    EXPECT_EQ(model->zoomFilteredSeries().cpuUsage.size(), 120u);
    const int cleared = changes;
    model->clearZoom();  // no zoom: no notification
    EXPECT_EQ(changes, cleared);
}

TEST_F(ZoomTest, ALateResultOfACancelledRebuildNeverOverwritesTheNewerOne) {
    model->setZoom(kTen, kTen + 60s);          // 31 samples
    dispatcher.runOne();                       // its build runs and posts its result...
    model->setZoom(kTen + 100s, kTen + 200s);  // ...as a newer zoom cancels it
    dispatcher.runOne();                       // the stale result arrives first
    EXPECT_TRUE(model->isZoomRebuilding.get());
    EXPECT_EQ(model->zoomFilteredSeries().cpuUsage.size(), 120u);  // untouched
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->zoomFilteredSeries().cpuUsage.size(), 51u);
    EXPECT_FALSE(model->isZoomRebuilding.get());

    // A successful zoom clears the pin; a refresh keeps the zoom and rebuilds under it.
    model->setPinnedDate(kTen + 150s, "cpu");
    model->setZoom(kTen + 100s, kTen + 160s);
    EXPECT_FALSE(model->pinnedDate.get());
    load();
    EXPECT_TRUE(model->isZoomActive());
    EXPECT_EQ(model->zoomFilteredSeries().cpuUsage.size(), 31u);
}

TEST_F(ZoomTest, PinsAreThrottledPerChartAndClearingNothingSendsNothing) {
    model->setPinnedDate(std::nullopt, std::nullopt);
    EXPECT_FALSE(model->lastPinnedUpdate());

    model->setPinnedDate(kTen, "cpu");
    dispatcher.virtualClock().advance(50ms);
    model->setPinnedDate(kTen + 2s, "cpu");  // same chart within 0.1 s: dropped
    EXPECT_EQ(model->pinnedDate.get(), kTen);
    model->setPinnedDate(kTen + 4s, "memory");  // another chart: at once
    EXPECT_EQ(model->pinnedDate.get(), kTen + 4s);
    EXPECT_EQ(model->pinnedChartID.get(), "memory");
    dispatcher.virtualClock().advance(100ms);
    model->setPinnedDate(kTen + 6s, "memory");
    EXPECT_EQ(model->pinnedDate.get(), kTen + 6s);

    model->setPinnedDate(std::nullopt, "memory");
    EXPECT_FALSE(model->pinnedDate.get());
    EXPECT_FALSE(model->pinnedChartID.get());
}

TEST_F(DashboardTest, DaysStepFromNewestToOldestAndTheSameDayDoesNotReload) {
    write("metrics-2026-11-20.jsonl", samples(kTen - 48h, 3));
    write("metrics-2026-11-21.jsonl", samples(kTen - 24h, 4));
    write("metrics-2026-11-22.jsonl", samples(kTen, 5));
    load();
    EXPECT_FALSE(model->canNavigateDay(-1));
    model->setZoom(kTen, kTen + 8s);
    dispatcher.runUntilIdle();

    model->navigateDay(+1);
    EXPECT_EQ(model->selectedDay(), "2026-11-21");
    EXPECT_FALSE(model->isZoomActive());
    EXPECT_TRUE(model->isRebuilding.get());
    EXPECT_EQ(model->fetchPhase->kind, FetchPhase::Kind::success);  // old charts stay
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->metrics->size(), 4u);
    EXPECT_FALSE(model->isRebuilding.get());

    model->setSelectedDay("2026-11-21");
    EXPECT_EQ(dispatcher.pendingTasks(), 0u);
    model->navigateDay(+1);
    dispatcher.runUntilIdle();
    EXPECT_FALSE(model->canNavigateDay(+1));
    model->navigateDay(+1);
    EXPECT_EQ(model->selectedDay(), "2026-11-20");
}

}  // namespace
}  // namespace ostrel::testing
