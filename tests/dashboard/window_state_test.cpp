// The window's state read from a model that loaded a real day.
#include "dashboard/controls_header.h"
#include "dashboard/cpu_tooltip.h"
#include "dashboard/dashboard_figures.h"
#include "dashboard/dashboard_summaries.h"
#include "dashboard_fixture.h"

namespace ostrel::testing {
namespace {

TEST_F(DashboardTest, WindowStateFollowsTheLoadedDayAndItsZoom) {
    write("metrics-2026-11-22-10.jsonl", samples(kTen, 120));  // 10:00:00 to 10:03:58
    load();

    const auto hero = heroStats(DashboardFigures::of(*model));
    EXPECT_EQ(hero[0].sparkline.size(), 60u);
    EXPECT_EQ(hero[0].sparkline.back(), 129 + 5);  // the last sample's user and system

    // The builder attaches the moment's processes to the user series; the tooltip reads them
    // there, in the source's zone, a share of the sample's 4 cores when normalised.
    const SystemSeries& shown = model->zoomFilteredSeries();
    const auto tooltip = cpuTooltip(shown.cpuUser, shown.cpuSystem, kTen + 1s, true,
                                    model->sourceTimezone.get(), false);
    ASSERT_TRUE(tooltip);
    EXPECT_EQ(tooltip->time, "5:00:00 AM");
    EXPECT_EQ(tooltip->total, "Total: 15.0%");
    EXPECT_EQ(tooltip->processes, (std::vector<TooltipProcess>{{1, "worker", "2.5%", "0 MB"}}));

    auto header = ControlsHeaderState::of(*model, kTen);
    EXPECT_TRUE(header.showsDayStepper);
    EXPECT_FALSE(header.showsReturnToLocalData);
    EXPECT_FALSE(header.zoomRange);
    model->setZoom(kTen, kTen + 60s);
    dispatcher.runUntilIdle();
    header = ControlsHeaderState::of(*model, kTen);
    EXPECT_EQ(header.zoomRange, formatZoomRange(kTen, kTen + 60s));
    EXPECT_EQ(heroStats(DashboardFigures::of(*model))[0].sparkline.size(), 31u);
}

}  // namespace
}  // namespace ostrel::testing
