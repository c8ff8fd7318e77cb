// What the running agent costs on this machine, the headline figure of the project: a monitor
// sampling every 2 seconds into a private store, headless, on real threads, measured from
// outside the sampling code as the CPU time of the whole process per stored sample. After a
// warm-up it is measured for a minute (OSTREL_BENCH_SECONDS to change that). Four runs: every
// collector on and every collector off, each at the machine's own process count and with 1,000
// extra idle processes. The floor loop (bench/proc_floor_loop.h), the least any agent that
// samples processes must do, runs beside the agent on a thread of its own, on the same
// schedule a second out of step: both are measured in the same minute, under the same load of
// the machine, and the agent's cost (the process's time less the floor thread's) is quoted as
// a multiple of the floor's.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <time.h>

#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
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

double threadCpuSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
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

// The floor loop on a thread of its own, every kInterval from half an interval on, until
// destroyed; its CPU time is counted apart, up to the end of its last sample.
class FloorLoop {
  public:
    struct Progress {
        double cpuSeconds = 0;
        int64_t samples = 0;
        long processes = 0;
    };

    FloorLoop() : thread_([this] { run(); }) {}
    ~FloorLoop() {
        {
            std::lock_guard lock(mutex_);
            stop_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }

    Progress progress() {
        std::lock_guard lock(mutex_);
        return progress_;
    }

  private:
    void run() {
        long checksum = 0;
        auto next = std::chrono::steady_clock::now() + kInterval / 2;
        std::unique_lock lock(mutex_);
        while (!changed_.wait_until(lock, next, [&] { return stop_; })) {
            lock.unlock();
            const long processes = proc_floor::sample(checksum);
            // The thread's whole time, its wake-ups included, as the agent's is counted.
            const double used = threadCpuSeconds();
            lock.lock();
            progress_.cpuSeconds = used;
            ++progress_.samples;
            progress_.processes = processes;
            next += kInterval;
        }
        benchmark::DoNotOptimize(checksum);
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    bool stop_ = false;
    Progress progress_;
    std::thread thread_;
};

void BM_MonitorSteadyCost(benchmark::State& state) {
    const Duration warmUp = kWarmUp;
    const Duration span = measuredSpan();
    ExtraProcesses extra(state.range(1));
    FloorLoop floor;
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
        FloorLoop::Progress floorAtStart;
        auto begin = dispatcher->makeTimer(dispatcher->mainQueue(), {.firstDeadline = warmUp}, [&] {
            floorAtStart = floor.progress();
            cpuAtStart = processCpuSeconds();
            wallAtStart = dispatcher->clock().monotonic();
            samplesAtStart = monitor->successCount.get();
        });
        auto end =
            dispatcher->makeTimer(dispatcher->mainQueue(), {.firstDeadline = warmUp + span}, [&] {
                const FloorLoop::Progress floorAtEnd = floor.progress();
                const double floorCpu = floorAtEnd.cpuSeconds - floorAtStart.cpuSeconds;
                const double cpu = processCpuSeconds() - cpuAtStart - floorCpu;
                const double wall =
                    std::chrono::duration<double>(dispatcher->clock().monotonic() - wallAtStart)
                        .count();
                state.SetIterationTime(wall);
                state.counters["cpu_percent_of_one_core"] = 100.0 * cpu / wall;
                state.counters["resident_MB"] = residentMB();
                state.counters["processes"] = static_cast<double>(floorAtEnd.processes);
                const auto samples =
                    static_cast<double>(monitor->successCount.get() - samplesAtStart);
                const auto floorSamples =
                    static_cast<double>(floorAtEnd.samples - floorAtStart.samples);
                state.counters["samples"] = samples;
                if (samples > 0 && floorSamples > 0 && floorCpu > 0) {
                    const double perSample = cpu * 1000.0 / samples;
                    const double floorPerSample = floorCpu * 1000.0 / floorSamples;
                    state.counters["cpu_ms_per_sample"] = perSample;
                    state.counters["floor_ms_per_sample"] = floorPerSample;
                    state.counters["times_floor"] = perSample / floorPerSample;
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
