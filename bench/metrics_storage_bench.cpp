// The store's two costs that matter: one save on the sample path, and loading a day of
// samples for the dashboard, from one daily file and from 24 hourly files.
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "records/record_json.h"
#include "storage/metrics_storage.h"
#include "support/sample_records.h"

namespace ostrel {
namespace {

constexpr int kSamplesPerDay = 43200;                           // one every 2 seconds
const Date kMidnight = Date(std::chrono::seconds(1795305600));  // 2026-11-22 00:00 UTC

std::filesystem::path benchFolder(const char* name) {
    const char* base = std::getenv("OSTREL_BENCH_DIR");
    auto folder = std::filesystem::path(base ? base : "/tmp") / name;
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    return folder;
}

void BM_SaveSample(benchmark::State& state) {
    const auto folder = benchFolder("ostrel-bench-save");
    MonitorConfig config;
    config.uploadEnabled = state.range(0) != 0;
    config.maxStorageMB = 100000;  // keep the measured path free of deletions
    MetricsStorage storage(config, folder, systemClock(), folder / "logs");
    const SystemMetrics sample = testing::realisticSample(kMidnight, 0);
    for (auto _ : state) {
        if (!storage.save(sample)) state.SkipWithError("save failed");
    }
    state.SetLabel(config.uploadEnabled ? "with upload queue" : "metric file only");
    storage.close();
    std::filesystem::remove_all(folder);
}
BENCHMARK(BM_SaveSample)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

// One day of samples, written once per process as the store would name them: one daily file
// under daily/metrics, 24 hourly files under hourly/metrics.
struct DayFiles {
    std::filesystem::path daily = benchFolder("ostrel-bench-daily");
    std::filesystem::path hourly = benchFolder("ostrel-bench-hourly");
    uint64_t bytes = 0;

    static const DayFiles& get() {
        static const DayFiles files = [] {
            DayFiles made;
            made.write();
            return made;
        }();
        return files;
    }

    void write() {
        std::filesystem::create_directories(daily / "metrics");
        std::filesystem::create_directories(hourly / "metrics");
        std::ofstream day(daily / "metrics/metrics-2026-11-22.jsonl", std::ios::binary);
        std::ofstream hour;
        std::string line;
        for (int i = 0; i < kSamplesPerDay; ++i) {
            if (i % (kSamplesPerDay / 24) == 0) {
                hour = std::ofstream(hourly / fmt::format("metrics/metrics-2026-11-22-{:02}.jsonl",
                                                          i / (kSamplesPerDay / 24)),
                                     std::ios::binary);
            }
            line.clear();
            const Date when = kMidnight + std::chrono::seconds(2 * i);
            (void)appendJson(line, testing::realisticSample(when, i));
            line += '\n';
            day << line;
            hour << line;
            bytes += line.size();
        }
    }
};

double processCpuSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// The dashboard's path: list, narrow to the day, load. Besides wall time, the CPU time of
// all threads per load, which a busy machine disturbs less.
void loadDay(benchmark::State& state, const std::filesystem::path& base) {
    const DayFiles& day = DayFiles::get();
    const MetricsStorage storage(MonitorConfig{}, base, systemClock(), base / "logs");
    size_t files = 0;
    const double cpuBefore = processCpuSeconds();
    for (auto _ : state) {
        const auto listed =
            MetricsStorage::filterFilesForDay(*storage.metricsFiles(), "2026-11-22");
        const auto samples = MetricsStorage::loadFilesInParallel(listed);
        if (samples.size() != kSamplesPerDay) state.SkipWithError("lines were lost");
        files = listed.size();
        benchmark::DoNotOptimize(samples.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * day.bytes));
    state.counters["MB"] = static_cast<double>(day.bytes) / 1e6;
    state.counters["files"] = static_cast<double>(files);
    state.counters["cpu_s_per_load"] =
        (processCpuSeconds() - cpuBefore) / static_cast<double>(state.iterations());
}

void BM_LoadDayDailyFile(benchmark::State& state) {
    loadDay(state, DayFiles::get().daily);
}
void BM_LoadDayHourlyFiles(benchmark::State& state) {
    loadDay(state, DayFiles::get().hourly);
}
BENCHMARK(BM_LoadDayDailyFile)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3);
BENCHMARK(BM_LoadDayHourlyFiles)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3);

}  // namespace
}  // namespace ostrel

BENCHMARK_MAIN();
