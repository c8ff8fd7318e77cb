// CPU time of one sample on this machine, collector by collector: the benchmark thread's own
// CPU time, so neither the memory refinement on its own queue nor the monitor's queues are
// counted. What the running agent costs is monitor_steady_cost_bench's figure, not this one.
//
//   build/bench/collection_bench                  all benchmarks
//   build/bench/collection_bench --print-sample   one full sample as its metric-file line
//
// Arguments: extra idle processes started for the run, and the stride of the clock per sample
// in milliseconds. A stride of 2000 ages every cache as a 2-second interval does (disk counters,
// GPU, route); 0 keeps them warm, as a fast interface refresh sees them.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "collectors/metrics_aggregator.h"
#include "extra_processes.h"
#include "records/record_json.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

// The system's clock, moved forward by hand so caches expire without waiting.
class SteppingClock final : public Clock {
  public:
    Date now() const override {
        return systemClock().now() + std::chrono::duration_cast<Date::duration>(offset_);
    }
    Duration monotonic() const override { return systemClock().monotonic() + offset_; }
    void step(Duration stride) { offset_ += stride; }

  private:
    Duration offset_{0};
};

// The thread-backed dispatcher with the stepping clock in place of the real one.
class SteppingDispatcher final : public Dispatcher {
  public:
    SteppingDispatcher() : threads_(makeThreadDispatcher()) {}
    SerialQueue& mainQueue() override { return threads_->mainQueue(); }
    std::shared_ptr<SerialQueue> makeSerialQueue(std::string label) override {
        return threads_->makeSerialQueue(std::move(label));
    }
    std::unique_ptr<Timer> makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                     Task handler) override {
        return threads_->makeTimer(queue, schedule, std::move(handler));
    }
    void detach(Task task) override { threads_->detach(std::move(task)); }
    const Clock& clock() const override { return clock_; }
    SteppingClock& steppingClock() { return clock_; }

  private:
    SteppingClock clock_;
    std::unique_ptr<MainLoopDispatcher> threads_;
};

template <bool full>
void sample(benchmark::State& state) {
    ExtraProcesses extra(state.range(0));
    const Duration stride = std::chrono::milliseconds(state.range(1));
    SteppingDispatcher dispatcher;
    MetricsAggregator aggregator(dispatcher);
    const MonitorConfig config;  // every section on
    aggregator.collectAll(config, true);

    int64_t processes = 0;
    for (auto _ : state) {
        dispatcher.steppingClock().step(stride);
        SystemMetrics metrics =
            full ? aggregator.collectAll(config, true) : aggregator.collectFastMetrics(config);
        benchmark::DoNotOptimize(metrics);
        if (metrics.processes && metrics.processes->processCount) {
            processes = *metrics.processes->processCount;
        }
    }
    state.counters["processes"] = static_cast<double>(processes);
}

void BM_FullSample(benchmark::State& state) {
    sample<true>(state);
}
void BM_FastSample(benchmark::State& state) {
    sample<false>(state);
}

BENCHMARK(BM_FullSample)
    ->ArgNames({"extra", "strideMs"})
    ->Args({0, 0})
    ->Args({0, 2000})
    ->Args({125, 2000})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FastSample)
    ->ArgNames({"extra", "strideMs"})
    ->Args({0, 0})
    ->Args({0, 2000})
    ->Unit(benchmark::kMicrosecond);

// One collector at a time on this machine's sources, caches warm, to see where a fast sample's
// time goes.
void BM_Collector(benchmark::State& state) {
    const Clock& clock = systemClock();
    CollectionSources sources = makePlatformCollectionSources(clock);
    CPUCollector cpu(*sources.cpu, clock);
    cpu.seed();
    MemoryCollector memory(*sources.memory);
    DiskCollector disk(*sources.disk, clock);
    NetworkCollector network(*sources.network);
    PowerCollector power(*sources.power);
    GPUCollector gpu(*sources.gpu, clock);
    SystemInfoCollector system(*sources.system, *sources.gpu, clock);
    const std::function<void()> runs[] = {
        [&] {
            CPUMetrics metrics;
            metrics.cpuCount = cpu.processorCount();
            cpu.collectLoadAverages(metrics);
            cpu.collectUsagePercentages(metrics, false);
            cpu.collectThermalState(metrics);
            benchmark::DoNotOptimize(metrics);
        },
        [&] { benchmark::DoNotOptimize(memory.collect()); },
        [&] {
            DiskMetrics metrics;
            disk.collectDiskSpace(metrics);
            disk.collectDiskIO(metrics, false);
            benchmark::DoNotOptimize(metrics);
        },
        [&] { benchmark::DoNotOptimize(network.collect()); },
        [&] {
            PowerMetrics metrics;
            power.collectBatteryInfo(metrics);
            power.collectSleepAssertions(metrics);
            benchmark::DoNotOptimize(metrics);
        },
        [&] { benchmark::DoNotOptimize(gpu.collect()); },
        [&] {
            benchmark::DoNotOptimize(system.collect());
            benchmark::DoNotOptimize(sources.system->hostName());
        },
    };
    static constexpr const char* labels[] = {"cpu", "mem", "disk", "net", "power", "gpu", "sys"};
    state.SetLabel(labels[state.range(0)]);
    const auto& run = runs[state.range(0)];
    for (auto _ : state)
        run();
}
BENCHMARK(BM_Collector)->DenseRange(0, 6)->Unit(benchmark::kMicrosecond);

int printSample() {
    auto dispatcher = makeThreadDispatcher();
    MetricsAggregator aggregator(*dispatcher);
    // Enough time for the tick and disk baselines to give figures.
    std::this_thread::sleep_for(1600ms);
    const auto line = encodeJson(aggregator.collectAll(MonitorConfig{}, true));
    if (!line) {
        std::fprintf(stderr, "%s\n", line.error().message().c_str());
        return 1;
    }
    std::printf("%s\n", line->c_str());
    return 0;
}

}  // namespace
}  // namespace ostrel

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--print-sample") == 0) return ostrel::printSample();
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
