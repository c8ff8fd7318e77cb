// CPU cost of the process side of one sample on this machine: the /proc scan, the top-N
// selection, per-process network and disk counters, and the memory refinement that runs on its
// timer; and, for comparison, one run of `ps` listing the same fields.
//
//   build/bench/process_scan_bench
//   OSTREL_BENCH_EXTRA_PROCESSES=125 build/bench/process_scan_bench   (about 200 processes)
//
// cpu_time is the CPU time of the benchmark thread, kernel time included. For `ps`, the
// child's own CPU time (getrusage of the children) is in the counter child_cpu_us.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "collectors/process_collector.h"
#include "extra_processes.h"
#include "platform/dispatcher.h"
#include "platform/linux/process_memory.h"
#include "platform/linux/processes.h"

extern char** environ;

namespace {

using namespace ostrel;

size_t processCount() {
    LinuxProcessSource source({}, nullptr);
    const auto table = source.listProcesses();
    return table ? table->processes.size() : 0;
}

// The pids of one listing, as a sample hands them to the per-process readers.
std::vector<int32_t> listedPids() {
    LinuxProcessSource source({}, nullptr);
    std::vector<int32_t> pids;
    if (const auto table = source.listProcesses()) {
        for (const auto& reading : table->processes)
            pids.push_back(reading.pid);
    }
    return pids;
}

void BM_ProcessScan(benchmark::State& state) {
    LinuxProcessSource source({}, nullptr);
    size_t count = 0;
    for (auto _ : state) {
        auto table = source.listProcesses();
        count = table ? table->processes.size() : 0;
        benchmark::DoNotOptimize(table);
    }
    state.counters["processes"] = static_cast<double>(count);
}
BENCHMARK(BM_ProcessScan)->Unit(benchmark::kMicrosecond);

// What one sample asks of the collector: the list with top CPU and memory, then network and
// disk stats, as the collection cycle runs them.
void BM_FullProcessSample(benchmark::State& state) {
    auto dispatcher = makeThreadDispatcher();
    ProcessSources sources = makePlatformProcessSources(dispatcher->clock());
    sources.memory = nullptr;  // on its own timer, measured below
    ProcessCollector collector(sources, *dispatcher);
    collector.collect();
    int64_t count = 0;
    for (auto _ : state) {
        auto metrics = collector.collect();
        count = metrics.processCount.value_or(0);
        benchmark::DoNotOptimize(collector.collectNetworkStats(5));
        benchmark::DoNotOptimize(collector.collectDiskStats(5));
        benchmark::DoNotOptimize(metrics);
    }
    state.counters["processes"] = static_cast<double>(count);
}
BENCHMARK(BM_FullProcessSample)->Unit(benchmark::kMicrosecond);

void BM_NetworkCounters(benchmark::State& state) {
    auto dispatcher = makeThreadDispatcher();
    auto sources = makePlatformProcessSources(dispatcher->clock());
    const std::vector<int32_t> pids = listedPids();
    size_t count = 0;
    for (auto _ : state) {
        auto counters = sources.network->readNetworkCounters(pids);
        count = counters ? counters->size() : 0;
        benchmark::DoNotOptimize(counters);
    }
    state.counters["processes_with_traffic"] = static_cast<double>(count);
}
BENCHMARK(BM_NetworkCounters)->Unit(benchmark::kMicrosecond);

void BM_DiskCounters(benchmark::State& state) {
    auto dispatcher = makeThreadDispatcher();
    auto sources = makePlatformProcessSources(dispatcher->clock());
    const std::vector<int32_t> pids = listedPids();
    for (auto _ : state)
        benchmark::DoNotOptimize(sources.disk->readDiskCounters(pids));
}
BENCHMARK(BM_DiskCounters)->Unit(benchmark::kMicrosecond);

std::vector<MemoryCandidate> largestProcesses() {
    LinuxProcessSource source({}, nullptr);
    const auto table = source.listProcesses();
    if (!table) return {};
    return largestByResidentSize(table->processes, ProcessCollector::kRefinedProcessCount);
}

// The timer's work, off the sampling path: proportional sizes of the 20 largest processes,
// each read afresh (a clock that moves a minute per read ages every figure out).
void BM_MemoryRefinement(benchmark::State& state) {
    class MinutePerRead final : public Clock {
      public:
        Date now() const override { return Date{}; }
        Duration monotonic() const override { return ticks_ += std::chrono::minutes(1); }

      private:
        mutable Duration ticks_{};
    } clock;
    const auto largest = largestProcesses();
    LinuxProcessMemorySource memory(clock);
    for (auto _ : state)
        benchmark::DoNotOptimize(memory.refinedMemoryMB(largest));
}
BENCHMARK(BM_MemoryRefinement)->Unit(benchmark::kMicrosecond);

// The usual case: resident sizes hardly moved since the previous read.
void BM_MemoryRefinementSteady(benchmark::State& state) {
    const auto largest = largestProcesses();
    LinuxProcessMemorySource memory(systemClock());
    memory.refinedMemoryMB(largest);
    for (auto _ : state)
        benchmark::DoNotOptimize(memory.refinedMemoryMB(largest));
}
BENCHMARK(BM_MemoryRefinementSteady)->Unit(benchmark::kMicrosecond);

double childCpuMicroseconds() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e6 + usage.ru_utime.tv_usec +
           usage.ru_stime.tv_usec;
}

// One `ps` listing the same fields, its output read to the end as a parser would.
void BM_PsRun(benchmark::State& state) {
    const char* argv[] = {"ps", "-Aeo", "pid,ppid,user,pcpu,rss,comm", nullptr};
    double childCpu = 0;
    for (auto _ : state) {
        int pipeEnds[2];
        if (pipe2(pipeEnds, O_CLOEXEC) != 0) {
            state.SkipWithError("pipe");
            break;
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
        const double before = childCpuMicroseconds();
        pid_t pid = 0;
        const int spawned =
            posix_spawnp(&pid, "ps", &actions, nullptr, const_cast<char* const*>(argv), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(pipeEnds[1]);
        char buffer[65536];
        while (spawned == 0 && read(pipeEnds[0], buffer, sizeof(buffer)) > 0) {
        }
        close(pipeEnds[0]);
        if (spawned != 0) {
            state.SkipWithError("ps could not be started");
            break;
        }
        waitpid(pid, nullptr, 0);
        childCpu += childCpuMicroseconds() - before;
    }
    state.counters["child_cpu_us"] =
        benchmark::Counter(childCpu, benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_PsRun)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
    const char* extra = std::getenv("OSTREL_BENCH_EXTRA_PROCESSES");
    ExtraProcesses children(extra ? std::atoi(extra) : 0);
    benchmark::AddCustomContext("processes", std::to_string(processCount()));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
