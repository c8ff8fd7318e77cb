#include <gtest/gtest.h>

#include <QApplication>
#include <QMouseEvent>
#include <memory>

#include "gui/dashboard/chart_sections.h"
#include "gui/dashboard/dashboard_scene.h"

namespace ostrel::testing {
namespace {

// The system charts and the process charts over the newest day of the store, shown offscreen
// at the window's width, driven by the pointer as a person drives them.
class DashboardChartsTest : public DashboardScene {
  protected:
    void SetUp() override {
        makeModel().loadMetrics();
        ASSERT_TRUE(waitForPhase(FetchPhase::Kind::success));
        model->selectProcess("firefox");
        sections = std::make_unique<ChartSections>(*model);
        charts = sections->charts;
        ASSERT_EQ(charts.size(), 13u);
    }

    // The views go before the model they observe.
    void TearDown() override { sections.reset(); }

    DashboardChartView& cpu() { return *charts.front(); }

    // The pointer pressed at `from`, moved to `to` and released there, on a chart's plot area.
    static void drag(DashboardChartView& chart, QPointF from, QPointF to) {
        QWidget* surface = chart.viewport();
        const auto send = [&](QEvent::Type type, QPointF at, Qt::MouseButtons buttons) {
            QMouseEvent event(type, at, surface->mapToGlobal(at), Qt::LeftButton, buttons,
                              Qt::NoModifier);
            QApplication::sendEvent(surface, &event);
        };
        send(QEvent::MouseButtonPress, from, Qt::LeftButton);
        send(QEvent::MouseMove, to, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, to, Qt::NoButton);
        QApplication::processEvents();
    }

    // A point of the plot area at `fraction` of its width.
    static QPointF at(DashboardChartView& chart, double fraction) {
        const QRectF plot = chart.chart()->plotArea();
        return {plot.left() + fraction * plot.width(), plot.center().y()};
    }

    std::unique_ptr<ChartSections> sections;
    std::vector<DashboardChartView*> charts;
};

TEST_F(DashboardChartsTest, AClickOnTheCPUChartPinsEveryChartAtItsMomentUntilClosed) {
    EXPECT_TRUE(sections->process->isVisible());
    EXPECT_TRUE(sections->process->headerText().endsWith(" samples"));

    const QPointF click = at(cpu(), 0.4);
    const auto expected = cpu().chartGeometry().dateUnderPointer(click.x());
    drag(cpu(), click, click);
    ASSERT_TRUE(model->pinnedDate.get());
    EXPECT_EQ(model->pinnedDate.get(), expected);
    EXPECT_EQ(model->pinnedChartID.get(), std::optional<std::string>("cpu"));

    for (DashboardChartView* chart : charts) {
        SCOPED_TRACE(chart->identifier());
        const bool origin = chart->identifier() == "cpu";
        EXPECT_EQ(chart->pinnedDate(), expected);
        EXPECT_EQ(chart->isPinOrigin(), origin);
        const auto tooltip = chart->pinTooltip();
        ASSERT_TRUE(tooltip);
        EXPECT_EQ(tooltip->isLinked, !origin);
        EXPECT_EQ(tooltip->closable, origin);
        (void)chart->grab();
        EXPECT_EQ(chart->closeButton().isEmpty(), !origin);
    }

    // The close button of the origin's tooltip takes the pin off every chart.
    const QPointF close = cpu().closeButton().center();
    drag(cpu(), close, close);
    EXPECT_FALSE(model->pinnedDate.get());
    for (DashboardChartView* chart : charts)
        EXPECT_FALSE(chart->pinTooltip()) << chart->identifier();
}

TEST_F(DashboardChartsTest, ADragOfTenPixelsZoomsToItsRangeAndAShorterOneClicks) {
    DashboardChartView& memory = *charts[1];
    const QPointF from = at(memory, 0.25);
    const auto geometry = memory.chartGeometry();

    // Nine pixels are a click: a pin, no zoom.
    drag(memory, from, from + QPointF(9, 0));
    EXPECT_FALSE(model->isZoomActive());
    EXPECT_EQ(model->pinnedChartID.get(), std::optional<std::string>("memory"));

    const QPointF to = at(memory, 0.5);
    drag(memory, to, from);  // right to left: the earlier date still starts the range
    ASSERT_TRUE(waitUntilIdle());
    ASSERT_TRUE(model->isZoomActive());
    EXPECT_EQ(model->zoomStartDate(), geometry.dateUnderPointer(from.x()));
    EXPECT_EQ(model->zoomEndDate(), geometry.dateUnderPointer(to.x()));
    // A zoom takes the pin off, and the charts show the zoomed range only.
    EXPECT_FALSE(model->pinnedDate.get());
    QApplication::processEvents();
    const auto shown = cpu().chartGeometry().xDomain();
    ASSERT_TRUE(shown);
    EXPECT_GE(shown->start, *model->zoomStartDate());
    EXPECT_LE(shown->end, *model->zoomEndDate());
}

}  // namespace
}  // namespace ostrel::testing
