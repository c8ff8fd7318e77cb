// The dashboard's charts on one realistic day (43,200 samples), offscreen: what a pin move and
// the pointer cost the event loop. The nine system charts and the four of a selected watched
// process are shown, fed by a model whose main queue is Qt's event loop, as in the window.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMouseEvent>
#include <algorithm>
#include <vector>

#include "dashboard/dashboard_view_model.h"
#include "dashboard_day.h"
#include "gui/dashboard/chart_sections.h"
#include "gui/qt_main_queue.h"
#include "storage/metrics_storage.h"
#include "support/memory_preferences_store.h"

namespace ostrel {
namespace {

double millisecondsSince(const QElapsedTimer& timer) {
    return double(timer.nsecsElapsed()) / 1e6;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values.empty() ? 0 : values[values.size() / 2];
}

// The two sections over the loaded day.
struct ChartsOnDay {
    std::unique_ptr<MainLoopDispatcher> dispatcher =
        makeThreadDispatcher(std::make_unique<QtMainQueue>());
    std::shared_ptr<DashboardViewModel> model = DashboardViewModel::create(
        {dispatcher.get(), std::make_shared<testing::MemoryPreferencesStore>(),
         std::make_shared<MetricsStorage>(MonitorConfig{}, Day::get().local)});
    std::unique_ptr<testing::ChartSections> sections;
    std::vector<DashboardChartView*> charts;

    ChartsOnDay() {
        QEventLoop loaded;
        auto ended = model->fetchPhase.subscribe([&](const FetchPhase& phase) {
            if (phase.kind != FetchPhase::Kind::fetching) loaded.quit();
        });
        model->loadMetrics();
        loaded.exec();
        model->selectProcess("firefox");
        sections = std::make_unique<testing::ChartSections>(*model);
        charts = sections->charts;
    }

    static ChartsOnDay& get() {
        static ChartsOnDay* day = new ChartsOnDay;
        return *day;
    }
};

// A pin moved to another moment, alternating between two charts as clicks on them would (a
// move on one chart is limited to ten a second): the model's change, the event loop's turn that
// hands it to the charts, and a paint of every chart.
void BM_PinMoveRepaintsEveryChart(benchmark::State& state) {
    ChartsOnDay& day = ChartsOnDay::get();
    std::vector<double> moves;
    for (auto _ : state) {
        moves.clear();
        for (int i = 0; i < 100; ++i) {
            const Date moment = kMidnight + std::chrono::minutes(7 * i + 3);
            QElapsedTimer timer;
            timer.start();
            day.model->setPinnedDate(moment, i % 2 ? "cpu" : "memory");
            QApplication::processEvents();
            for (DashboardChartView* chart : day.charts)
                benchmark::DoNotOptimize(chart->grab());
            moves.push_back(millisecondsSince(timer));
        }
        state.SetIterationTime(median(moves) / 1e3);
    }
    state.counters["median_ms"] = median(moves);
    state.counters["max_ms"] = *std::ranges::max_element(moves);
    state.counters["charts"] = double(day.charts.size());
    state.counters["samples"] = double(day.model->cached().sampleCount);
    state.counters["target_ms"] = 16;
}
BENCHMARK(BM_PinMoveRepaintsEveryChart)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(3);

// The pointer swept across the CPU chart 4 pixels at a time, as a hand moves it, with a pin
// set so that both tooltips are drawn: each frame is the move's handling and the chart's paint.
void BM_HoverAtPointerSpeed(benchmark::State& state) {
    ChartsOnDay& day = ChartsOnDay::get();
    DashboardChartView& cpu = *day.charts.front();
    day.model->setPinnedDate(kMidnight + std::chrono::hours(12), "memory");
    QApplication::processEvents();
    std::vector<double> frames;
    int withTooltip = 0;
    for (auto _ : state) {
        frames.clear();
        withTooltip = 0;
        const QRectF plot = cpu.chart()->plotArea();
        for (double x = plot.left(); x <= plot.right(); x += 4) {
            const QPointF at(x, plot.center().y());
            QElapsedTimer timer;
            timer.start();
            QMouseEvent move(QEvent::MouseMove, at, cpu.viewport()->mapToGlobal(at), Qt::NoButton,
                             Qt::NoButton, Qt::NoModifier);
            QApplication::sendEvent(cpu.viewport(), &move);
            QApplication::processEvents();
            cpu.viewport()->repaint();
            frames.push_back(millisecondsSince(timer));
            withTooltip += cpu.hoverTooltip() ? 1 : 0;
        }
        state.SetIterationTime(median(frames) / 1e3);
    }
    state.counters["max_frame_ms"] = *std::ranges::max_element(frames);
    state.counters["median_frame_ms"] = median(frames);
    state.counters["frames"] = double(frames.size());
    state.counters["frames_with_tooltip"] = withTooltip;
    state.counters["target_ms"] = 33;
}
BENCHMARK(BM_HoverAtPointerSpeed)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);

}  // namespace
}  // namespace ostrel

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
