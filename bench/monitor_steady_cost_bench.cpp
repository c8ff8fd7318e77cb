// The agent's steady cost on this machine: a monitor with every collector on, sampling every
// 2 seconds into a private store, headless, on real threads. After a warm-up it is measured
// for a minute (OSTREL_BENCH_SECONDS to change that): CPU time of the whole process, all
// threads, as a percentage of one core, and resident memory at the end. The second run turns
// every collector off, which leaves the monitor's own share: timers, queues, encoding and
// storing a sample.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "alerts/alert_manager.h"
#include "monitor/performance_monitor.h"
#include "platform/notifier.h"
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

void BM_MonitorSteadyCost(benchmark::State& state) {
    const Duration warmUp = 10s;
    const Duration span = measuredSpan();
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
            config.intervalSeconds = 2;
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
                state.counters["samples"] =
                    static_cast<double>(monitor->successCount.get() - samplesAtStart);
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
    ->ArgName("collectors")
    ->Arg(1)
    ->Arg(0)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

}  // namespace
}  // namespace ostrel

BENCHMARK_MAIN();
