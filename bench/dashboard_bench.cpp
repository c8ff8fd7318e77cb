// The dashboard's costs on one realistic day: 43,200 samples (one every 2 seconds) in 24 hourly
// files, with a watched process at every sample and an alert an hour, and the same day as one
// picked file. Loads run on the program's own threaded dispatcher, timed from the call to the
// phase that ends them, as the window waits for them.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "dashboard/chart_data_builder.h"
#include "dashboard/dashboard_view_model.h"
#include "dashboard_day.h"
#include "storage/metrics_storage.h"
#include "support/memory_preferences_store.h"

namespace ostrel {
namespace {

using Clock = std::chrono::steady_clock;

double peakResidentMB() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;  // reported in KiB
}

// A model on the threaded dispatcher; the bench's thread serves the main queue.
struct Dashboard {
    std::unique_ptr<MainLoopDispatcher> dispatcher = makeThreadDispatcher();
    std::shared_ptr<DashboardViewModel> model;

    Dashboard() {
        model = DashboardViewModel::create(
            {dispatcher.get(), std::make_shared<testing::MemoryPreferencesStore>(),
             std::make_shared<MetricsStorage>(MonitorConfig{}, Day::get().local)});
    }
    ~Dashboard() {
        // Released on the main queue, as the window does.
        dispatcher->mainQueue().async([this] {
            model.reset();
            dispatcher->quitMainLoop();
        });
        dispatcher->runMainLoop();
    }

    // Runs `start` on the main queue and serves it until a load ends; returns the seconds.
    double load(const std::function<void(DashboardViewModel&)>& start) {
        Clock::time_point begun;
        auto ended = model->fetchPhase.subscribe([&](const FetchPhase& phase) {
            if (phase.kind != FetchPhase::Kind::fetching) dispatcher->quitMainLoop();
        });
        dispatcher->mainQueue().async([&] {
            begun = Clock::now();
            start(*model);
        });
        dispatcher->runMainLoop();
        return std::chrono::duration<double>(Clock::now() - begun).count();
    }
};

// From loadMetrics to success with the charts built, for a fresh model each time (a visible
// load), in a process of its own so the heap is as new as when the dashboard first opens. The
// child reports its time and its peak resident memory with the day on screen.
void BM_LoadMetricsToSuccess(benchmark::State& state) {
    const Day& day = Day::get();
    double peakMB = 0;
    for (auto _ : state) {
        int channel[2];
        if (::pipe(channel) != 0) state.SkipWithError("pipe failed");
        const pid_t child = ::fork();
        if (child == 0) {
            double report[2] = {-1, 0};
            {
                Dashboard dashboard;
                const double seconds = dashboard.load([](auto& model) { model.loadMetrics(); });
                const auto& model = *dashboard.model;
                if (model.fetchPhase->kind == FetchPhase::Kind::success &&
                    model.cached().sampleCount == kSamplesPerDay) {
                    report[0] = seconds;
                }
                report[1] = peakResidentMB();
            }
            [[maybe_unused]] const auto written = ::write(channel[1], report, sizeof report);
            ::_exit(0);
        }
        ::close(channel[1]);
        double report[2] = {-1, 0};
        const bool got = ::read(channel[0], report, sizeof report) == sizeof report;
        ::close(channel[0]);
        ::waitpid(child, nullptr, 0);
        if (!got || report[0] < 0) state.SkipWithError("the child's load failed");
        state.SetIterationTime(report[0]);
        peakMB = std::max(peakMB, report[1]);
    }
    state.counters["MB_on_disk"] = static_cast<double>(day.bytes) / 1e6;
    state.counters["peak_rss_MB"] = peakMB;
}
BENCHMARK(BM_LoadMetricsToSuccess)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

// A loaded day, shared by the benchmarks below.
Dashboard& loadedDay() {
    static Dashboard* dashboard = [] {
        auto* made = new Dashboard;
        made->load([](auto& model) { model.loadMetrics(); });
        return made;
    }();
    return *dashboard;
}

void BM_BuildChartData(benchmark::State& state) {
    const ChartSamples samples = loadedDay().model->metrics.get();
    const auto refs = sampleRefs(samples);
    for (auto _ : state)
        benchmark::DoNotOptimize(buildChartData(refs, static_cast<size_t>(state.range(0))));
    state.counters["samples"] = static_cast<double>(refs.size());
}
BENCHMARK(BM_BuildChartData)->Arg(2000)->Unit(benchmark::kMillisecond)->UseRealTime();

// From setZoom to the shown series rebuilt, alternating between two hours of the day.
void BM_ZoomRebuildOneHour(benchmark::State& state) {
    Dashboard& dashboard = loadedDay();
    auto& model = *dashboard.model;
    model.clearZoom();  // the window of an earlier run would be refused as unchanged
    int hour = 9;
    size_t points = 0;
    for (auto _ : state) {
        hour = hour == 9 ? 14 : 9;
        const Date start = kMidnight + std::chrono::hours(hour);
        Clock::time_point begun;
        auto ended = model.isZoomRebuilding.subscribe([&](bool rebuilding) {
            if (!rebuilding) dashboard.dispatcher->quitMainLoop();
        });
        dashboard.dispatcher->mainQueue().async([&] {
            begun = Clock::now();
            model.setZoom(start, start + std::chrono::hours(1));
        });
        dashboard.dispatcher->runMainLoop();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begun).count());
        points = model.zoomFilteredSeries().cpuUsage.size();
    }
    state.counters["points"] = static_cast<double>(points);
}
BENCHMARK(BM_ZoomRebuildOneHour)->Unit(benchmark::kMillisecond)->UseManualTime();

// selectProcess over the day's watched events, on the main queue where the window calls it.
void BM_SelectProcess(benchmark::State& state) {
    auto& model = *loadedDay().model;
    model.clearZoom();
    for (auto _ : state)
        model.selectProcess("firefox");
    state.counters["events"] = static_cast<double>(model.watchedProcessEvents().size());
    state.counters["points"] = static_cast<double>(model.processSearchData().cpu.size());
}
BENCHMARK(BM_SelectProcess)->Unit(benchmark::kMillisecond)->UseRealTime();

// The same day picked as one file from another machine: read in chunks, one file at a time.
void BM_ExternalFile(benchmark::State& state) {
    const Day& day = Day::get();
    size_t samples = 0;
    for (auto _ : state) {
        Dashboard dashboard;
        state.SetIterationTime(
            dashboard.load([&](auto& model) { model.loadFromExternalPaths({day.external}); }));
        samples = static_cast<size_t>(dashboard.model->cached().sampleCount);
    }
    state.counters["samples"] = static_cast<double>(samples);
}
BENCHMARK(BM_ExternalFile)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);

}  // namespace
}  // namespace ostrel

BENCHMARK_MAIN();
