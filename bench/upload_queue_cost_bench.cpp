// The agent's cost per stored sample with upload on, against an empty upload queue and against
// one of 100 MB left by a long outage: the store's part of a sample (the line to the metric
// file and to the queue, the pruning check every tenth sample) and the figures the monitor
// publishes after it (storage health, records waiting, records refused). With the waiting
// count kept as files come and go, the second must cost no more than the first.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "records/record_json.h"
#include "storage/metrics_storage.h"
#include "support/sample_records.h"

namespace ostrel {
namespace {

namespace fs = std::filesystem;

// Queue files of 1 MiB, as the pending file rolls them, up to `megabytes` in all.
void fillQueue(const fs::path& upload, int megabytes, const std::string& line) {
    fs::create_directories(upload);
    for (int file = 0; file < megabytes; ++file) {
        std::ofstream out(upload /
                          ("uploading-" + std::to_string(1'700'000'000 + file) + ".jsonl"));
        for (size_t written = 0; written < MetricsStorage::kRollBytes; written += line.size())
            out << line;
    }
}

void BM_StoredSampleWithUploadQueue(benchmark::State& state) {
    const fs::path folder = fs::temp_directory_path() / "ostrel-upload-queue-bench";
    fs::remove_all(folder);
    const SystemMetrics sample = testing::realisticSample(systemClock().now(), 1);
    fillQueue(folder / "upload", static_cast<int>(state.range(0)), *encodeJson(sample) + "\n");
    // Limits that keep the whole queue: its size is what is measured.
    MetricsStorage storage({.maxStorageMB = 1024, .uploadEnabled = true}, folder, systemClock(),
                           folder / "logs");
    benchmark::DoNotOptimize(storage.pendingUploadCount());  // the one count from the files

    for (auto _ : state) {
        if (!storage.save(sample)) state.SkipWithError("save failed");
        benchmark::DoNotOptimize(storage.getHealth());
        benchmark::DoNotOptimize(storage.pendingUploadCount());
        benchmark::DoNotOptimize(storage.rejectedUploadCount());
    }
    state.counters["waiting_records"] = static_cast<double>(storage.pendingUploadCount());
    fs::remove_all(folder);
}
BENCHMARK(BM_StoredSampleWithUploadQueue)
    ->ArgName("queue_MB")
    ->Arg(0)
    ->Arg(100)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace ostrel

BENCHMARK_MAIN();
