// What the running agent costs on this machine, the headline figure of the project: a monitor
// sampling every 2 seconds into a private store, headless, on real threads, measured from
// outside the sampling code as the CPU time of the whole process (all threads) per stored
// sample. After a warm-up it is measured for a minute (OSTREL_BENCH_SECONDS to change that).
// Four runs: every collector on and every collector off, each at the machine's own process
// count and with 1,000 extra idle processes. The floor loop runs first, on the same schedule:
// the least any agent that samples processes must do (bench/proc_floor_loop.h); each agent
// run reports its cost as a multiple of the floor at the same process count.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>

#include "alerts/alert_manager.h"
#include "extra_processes.h"
#include "monitor/performance_monitor.h"
#include "platform/notifier.h"
#include "proc_floor_loop.h"
#include "support/memory_preferences_store.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

double processCpuSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double residentMB() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) return std::stod(line.substr(6)) / 1024.0;
    }
    return 0;
}

Duration measuredSpan() {
    const char* text = std::getenv("OSTREL_BENCH_SECONDS");
    return std::chrono::seconds(text ? std::max(1, std::atoi(text)) : 60);
}

constexpr auto kInterval = 2s;
constexpr auto kWarmUp = 10s;

// CPU milliseconds per sample of the floor loop, by extra process count, for the agent runs.
std::map<int64_t, double>& floorCost() {
    static std::map<int64_t, double> costs;
    return costs;
}

void BM_FloorLoop(benchmark::State& state) {
    ExtraProcesses extra(state.range(0));
    const int64_t samples = std::chrono::duration_cast<std::chrono::seconds>(measuredSpan()) /
                            std::chrono::duration_cast<std::chrono::seconds>(kInterval);
    for (auto _ : state) {
        long checksum = 0;
        long processes = 0;
        const double cpuAtStart = processCpuSeconds();
        auto next = std::chrono::steady_clock::now();
        for (int64_t i = 0; i < samples; ++i) {
            processes = proc_floor::sample(checksum);
            next += kInterval;
            std::this_thread::sleep_until(next);
        }
        const double cpuMs = (processCpuSeconds() - cpuAtStart) * 1000.0;
        benchmark::DoNotOptimize(checksum);
        state.SetIterationTime(static_cast<double>(samples) *
                               std::chrono::duration<double>(kInterval).count());
        state.counters["processes"] = static_cast<double>(processes);
        state.counters["cpu_ms_per_sample"] = cpuMs / static_cast<double>(samples);
        floorCost()[state.range(0)] = cpuMs / static_cast<double>(samples);
    }
}
BENCHMARK(BM_FloorLoop)
    ->ArgName("extra")
    ->Arg(0)
    ->Arg(1000)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

void BM_MonitorSteadyCost(benchmark::State& state) {
    const Duration warmUp = kWarmUp;
    const Duration span = measuredSpan();
    const int64_t extraCount = state.range(1);
    ExtraProcesses extra(extraCount);
    for (auto _ : state) {
        const auto folder = std::filesystem::temp_directory_path() / "ostrel-steady-cost-bench";
        std::filesystem::remove_all(folder);
        auto dispatcher = makeThreadDispatcher();
        auto notifier = makeDesktopNotifier(std::nullopt);
        AlertManager alerts(dispatcher->clock(), *notifier, dispatcher->mainQueue());
        MonitorDependencies dependencies = MonitorDependencies::forThisMachine(
            *dispatcher, alerts, std::make_shared<testing::MemoryPreferencesStore>(), folder);

        std::shared_ptr<PerformanceMonitor> monitor;
        dispatcher->mainQueue().async([&] {
            monitor = PerformanceMonitor::create(std::move(dependencies));
            MonitorConfig config;  // every collector on by default
            config.intervalSeconds = std::chrono::seconds(kInterval).count();
            if (state.range(0) == 0) {
                config.collectCPU = config.collectMemory = config.collectDisk =
                    config.collectNetwork = config.collectProcesses = config.collectPower =
                        config.collectGPU = config.collectSystem = false;
            }
            monitor->configure(config);
            monitor->start();
        });
        double cpuAtStart = 0;
        Duration wallAtStart{0};
        int64_t samplesAtStart = 0;
        auto begin = dispatcher->makeTimer(dispatcher->mainQueue(), {.firstDeadline = warmUp}, [&] {
            cpuAtStart = processCpuSeconds();
            wallAtStart = dispatcher->clock().monotonic();
            samplesAtStart = monitor->successCount.get();
        });
        auto end =
            dispatcher->makeTimer(dispatcher->mainQueue(), {.firstDeadline = warmUp + span}, [&] {
                const double cpu = processCpuSeconds() - cpuAtStart;
                const double wall =
                    std::chrono::duration<double>(dispatcher->clock().monotonic() - wallAtStart)
                        .count();
                state.SetIterationTime(wall);
                state.counters["cpu_percent_of_one_core"] = 100.0 * cpu / wall;
                state.counters["resident_MB"] = residentMB();
                const auto samples =
                    static_cast<double>(monitor->successCount.get() - samplesAtStart);
                state.counters["samples"] = samples;
                if (samples > 0) {
                    const double perSample = cpu * 1000.0 / samples;
                    state.counters["cpu_ms_per_sample"] = perSample;
                    const auto floor = floorCost().find(extraCount);
                    if (floor != floorCost().end() && floor->second > 0) {
                        state.counters["times_floor"] = perSample / floor->second;
                    }
                }
                state.counters["errors"] = static_cast<double>(monitor->errorCount.get());
                monitor->stop();
                monitor.reset();
                dispatcher->quitMainLoop();
            });
        dispatcher->runMainLoop();
        std::filesystem::remove_all(folder);
    }
}
BENCHMARK(BM_MonitorSteadyCost)
    ->ArgNames({"collectors", "extra"})
    ->Args({1, 0})
    ->Args({0, 0})
    ->Args({1, 1000})
    ->Args({0, 1000})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

}  // namespace
}  // namespace ostrel

BENCHMARK_MAIN();
