// Opening the dashboard window on the realistic day of dashboard_bench (43,200 samples): from the
// window's creation to every section drawn, offscreen. The model loads on the program's threaded
// dispatcher with Qt's event loop as its main queue, as in the application.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <chrono>

#include "dashboard/dashboard_view_model.h"
#include "dashboard_day.h"
#include "gui/dashboard/dashboard_content.h"
#include "gui/dashboard/dashboard_main_area.h"
#include "gui/dashboard/dashboard_window.h"
#include "gui/qt_main_queue.h"
#include "storage/metrics_storage.h"
#include "support/memory_preferences_store.h"

namespace ostrel {
namespace {

using Clock = std::chrono::steady_clock;

QApplication& application() {
    static int argc = 1;
    static char name[] = "dashboard_window_bench";
    static char* argv[] = {name, nullptr};
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // Never destroyed: Qt's own globals may be gone at exit.
    static auto* app = new QApplication(argc, argv);
    return *app;
}

// Serves the event loop until `done` holds.
template <class Done>
void serveUntil(Done done) {
    QTimer tick;  // the loads post from other threads: look now and then
    tick.start(2);
    while (!done())
        QApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    QApplication::processEvents();
}

// From building the window (which loads when shown) to the day on screen: the load's success,
// the views redrawn from the model, and the whole content painted, below the fold as well.
void BM_OpenWindowUntilDrawn(benchmark::State& state) {
    application();
    const Day& day = Day::get();
    auto dispatcher = makeThreadDispatcher(std::make_unique<QtMainQueue>());
    double loadSeconds = 0;
    for (auto _ : state) {
        const auto begun = Clock::now();
        auto model = DashboardViewModel::create(
            {dispatcher.get(), std::make_shared<testing::MemoryPreferencesStore>(),
             std::make_shared<MetricsStorage>(MonitorConfig{}, day.local)});
        auto window = std::make_unique<DashboardWindow>(model, dispatcher->clock());
        window->show();
        serveUntil([&] {
            return model->fetchPhase->kind != FetchPhase::Kind::fetching &&
                   model->fetchPhase->kind != FetchPhase::Kind::initial &&
                   !model->isRebuilding.get();
        });
        const auto loaded = Clock::now();
        if (model->fetchPhase->kind != FetchPhase::Kind::success ||
            model->cached().sampleCount != kSamplesPerDay) {
            state.SkipWithError("the day did not load");
            break;
        }
        // Every section, scrolled into view or not, as a person scrolling down would see it.
        benchmark::DoNotOptimize(window->grab());
        benchmark::DoNotOptimize(window->mainArea()->content()->grab());
        const auto drawn = Clock::now();
        state.SetIterationTime(std::chrono::duration<double>(drawn - begun).count());
        loadSeconds += std::chrono::duration<double>(loaded - begun).count();
        window.reset();
        model.reset();
        QApplication::processEvents();
    }
    state.counters["load_s"] = benchmark::Counter(loadSeconds / double(state.iterations()));
}
BENCHMARK(BM_OpenWindowUntilDrawn)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

}  // namespace
}  // namespace ostrel

BENCHMARK_MAIN();
