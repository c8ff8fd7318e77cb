#include "dashboard/chart_geometry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "dashboard/chart_interaction.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

const Date kStart = Date(std::chrono::seconds(1795341600));
const PlotArea kPlot{.left = 50, .top = 20, .width = 1000, .height = 300};

Date at(double seconds) {
    return kStart + std::chrono::round<Date::duration>(std::chrono::duration<double>(seconds));
}

// A series of one point each `step` seconds over [from, to].
ChartSeries seriesOver(int from, int to, int step = 60) {
    ChartSeries series;
    for (int s = from; s <= to; s += step)
        series.push_back({.date = at(s), .value = double(s)});
    return series;
}

struct MappingRow {
    double x;
    double seconds;  // from kStart, after clamping
};

void expectRows(const ChartGeometry& geometry, const std::vector<MappingRow>& rows) {
    for (const MappingRow& row : rows) {
        SCOPED_TRACE(row.x);
        EXPECT_EQ(geometry.dateUnderPointer(row.x), at(row.seconds));
        const double insideX = std::clamp(row.x, kPlot.left, kPlot.left + kPlot.width);
        EXPECT_NEAR(*geometry.xForDate(at(row.seconds)), insideX, 1e-6);
    }
}

TEST(ChartGeometry, MapsPointerToDatesOverTheWholeRangeAndAfterZoomingIntoAHalfAndAQuarter) {
    // The x domain spans every series: the second one reaches the latest date.
    const std::vector<ChartSeries> whole{seriesOver(0, 1800), seriesOver(1800, 3600)};
    expectRows(ChartGeometry(kPlot, whole), {{0, 0},  // left of the plot: the first date
                                             {50, 0},
                                             {300, 900},
                                             {550, 1800},
                                             {1050, 3600},
                                             {1400, 3600}});  // right of it: the last

    // The charts then hold only the zoom's points, so the same pixels span less time.
    const std::vector<ChartSeries> half{seriesOver(0, 1800)};
    expectRows(ChartGeometry(kPlot, half), {{50, 0}, {550, 900}, {1050, 1800}, {2000, 1800}});

    const std::vector<ChartSeries> quarter{seriesOver(900, 1800)};
    expectRows(ChartGeometry(kPlot, quarter),
               {{10, 900}, {50, 900}, {300, 1125}, {550, 1350}, {1050, 1800}});
}

TEST(ChartGeometry, WithoutDataHasNoDomainAndLeavesDatesAlone) {
    const std::vector<ChartSeries> none{ChartSeries{}, ChartSeries{}};
    const ChartGeometry geometry(kPlot, none);
    EXPECT_FALSE(geometry.xDomain());
    EXPECT_FALSE(geometry.dateUnderPointer(300));
    EXPECT_FALSE(geometry.xForDate(kStart));
    EXPECT_EQ(geometry.clampToDataBounds(at(-500)), at(-500));

    // One moment only: every pointer position reads it, and it sits mid-plot.
    const std::vector<ChartSeries> single{seriesOver(60, 60)};
    const ChartGeometry point(kPlot, single);
    EXPECT_EQ(point.dateUnderPointer(900), at(60));
    EXPECT_EQ(point.xForDate(at(60)), 550);
}

TEST(ChartGeometry, ClosestPointTakesTheFirstOfEqualDistances) {
    const ChartSeries series = seriesOver(0, 20, 10);  // 0, 10, 20
    EXPECT_EQ(findClosest(series, at(5)), 0u);         // tie between 0 and 10
    EXPECT_EQ(findClosest(series, at(6)), 1u);
    EXPECT_EQ(findClosest(series, at(16)), 2u);
    EXPECT_EQ(findClosest(series, at(-100)), 0u);
    EXPECT_EQ(findClosest(series, at(900)), 2u);
    EXPECT_FALSE(findClosest(ChartSeries{}, at(5)));

    const std::vector<ChartSeries> both{series, ChartSeries{}, seriesOver(3, 30, 9)};
    const auto closest = findClosestData(both, at(14));
    ASSERT_EQ(closest.size(), 3u);
    EXPECT_EQ(closest[0], 1u);
    EXPECT_FALSE(closest[1]);
    EXPECT_EQ(closest[2], 1u);  // 12 of 3, 12, 21, 30
}

TEST(ChartDrag, StartsAtTenPixelsAndZoomsOnlyFromThirtySeconds) {
    // 1000 pixels over 1000 seconds: a pixel is a second.
    const std::vector<ChartSeries> data{seriesOver(0, 1000, 10)};
    const ChartGeometry geometry(kPlot, data);

    ChartDrag drag(500, 100);
    drag.moveTo(506, 107);  // 9.2 pixels away: still a click
    EXPECT_FALSE(drag.isDragging());
    EXPECT_FALSE(drag.zoomSelection(geometry));
    drag.moveTo(506, 108);  // 10 pixels
    EXPECT_TRUE(drag.isDragging());
    EXPECT_EQ(drag.draggedDates(geometry), std::pair(at(450), at(456)));
    EXPECT_FALSE(drag.zoomSelection(geometry));  // 6 seconds
    drag.moveTo(470, 100);                       // back leftwards, exactly 30 seconds
    EXPECT_EQ(drag.zoomSelection(geometry), (DateRange{at(420), at(450)}));
    drag.moveTo(500, 100);  // back at the press: still a drag, of nothing
    EXPECT_TRUE(drag.isDragging());
    EXPECT_FALSE(drag.zoomSelection(geometry));

    // Dragged past the plot, the range is clamped to the data.
    ChartDrag wide(1000, 100);
    wide.moveTo(1600, 100);
    EXPECT_EQ(wide.zoomSelection(geometry), (DateRange{at(950), at(1000)}));
}

TEST(ChartInteraction, HoverFollowsThePointerClickPinsAndADragZooms) {
    const std::vector<ChartSeries> data{seriesOver(0, 1000, 10)};
    const ChartGeometry geometry(kPlot, data);
    ChartInteraction chart;

    chart.move(geometry, 300, 100);
    EXPECT_EQ(chart.selectedDate(), at(250));
    chart.move(geometry, 300, 5);  // above the plot area
    EXPECT_FALSE(chart.selectedDate());
    chart.move(geometry, 1050, 100);
    chart.leave();
    EXPECT_FALSE(chart.selectedDate());

    chart.press(geometry, 300, 100);
    chart.move(geometry, 305, 100);
    EXPECT_FALSE(chart.isDragging());
    EXPECT_EQ(chart.release(geometry, 306, 100), (ChartGesture{.pin = at(256)}));

    chart.press(geometry, 300, 100);
    chart.move(geometry, 250, 100);
    EXPECT_TRUE(chart.isDragging());
    EXPECT_EQ(chart.dragDates(geometry), std::pair(at(250), at(200)));
    EXPECT_EQ(chart.release(geometry, 200, 100),
              (ChartGesture{.zoom = DateRange{at(150), at(250)}}));
    EXPECT_FALSE(chart.isDragging());
    EXPECT_FALSE(chart.dragDates(geometry));
    EXPECT_EQ(chart.selectedDate(), at(150));  // the hover is where the drag ended

    chart.press(geometry, 300, 100);  // a drag of 20 seconds: neither a pin nor a zoom
    EXPECT_EQ(chart.release(geometry, 320, 100), ChartGesture{});
    chart.press(geometry, 20, 100);  // left of the plot
    EXPECT_EQ(chart.release(geometry, 20, 100), ChartGesture{});

    EXPECT_TRUE(isPinOrigin("cpu", "cpu"));
    EXPECT_FALSE(isPinOrigin(std::nullopt, "cpu"));
}

}  // namespace
}  // namespace ostrel
