// The store's two costs that matter: one save on the sample path, and loading a day of
// samples for the dashboard, from one daily file and from 24 hourly files.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "records/formatters.h"
#include "records/record_json.h"
#include "storage/metrics_storage.h"

namespace ostrel {
namespace {

constexpr int kSamplesPerDay = 43200;  // one every 2 seconds
const char* const kProcessNames[] = {"chromium",
                                     "Xorg",
                                     "gnome-shell",
                                     "firefox-bin",
                                     "code",
                                     "systemd-journald",
                                     "pipewire",
                                     "dockerd",
                                     "containerd",
                                     "slack",
                                     "java",
                                     "postgres",
                                     "nautilus",
                                     "evolution",
                                     "tracker-miner-fs-3",
                                     "gsd-color",
                                     "kworker/u16:3-events_unbound",
                                     "thunderbird",
                                     "zoom",
                                     "spotify"};

// A sample as a busy desktop produces it: every section, ten processes by CPU and by memory,
// five by network, disk and GPU.
SystemMetrics realisticSample(int index, std::mt19937& random) {
    std::uniform_real_distribution<double> percent(0, 100), megabytes(10, 4000);
    const auto round1 = [](double v) { return roundedTo(v, 1); };
    const Date when = Date{} + std::chrono::seconds(1'763'190'000 + 2 * index);
    SystemMetrics m;
    m.timestamp = Formatters::localIso8601WithOffset(when);
    m.hostname = "workstation-042.corp.example.com";
    m.cpu = CPUMetrics{.loadAverage1m = round1(percent(random) / 20),
                       .loadAverage5m = 1.42,
                       .loadAverage15m = 1.18,
                       .cpuCount = 8,
                       .loadPercent = round1(percent(random)),
                       .userPercent = round1(percent(random)),
                       .systemPercent = 4.2,
                       .idlePercent = round1(percent(random)),
                       .thermalThrottle = false,
                       .thermalState = "nominal",
                       .thermalLevel = 0};
    m.memory = MemoryMetrics{.totalMB = 32768,
                             .freeMB = round1(megabytes(random)),
                             .activeMB = 12034.5,
                             .inactiveMB = 8123.2,
                             .wiredMB = 3012.7,
                             .compressedMB = 512.4,
                             .pressureLevel = 1,
                             .pressureString = "normal",
                             .pageIns = 1234567 + index,
                             .pageOuts = 23456,
                             .swapIns = 120,
                             .swapOuts = 340,
                             .swapTotalMB = 8192,
                             .swapUsedMB = 1024.5,
                             .swapFreeMB = 7167.5};
    m.disk = DiskMetrics{.totalGB = 994.7,
                         .usedGB = 512.3,
                         .freeGB = 482.4,
                         .percentUsed = 52,
                         .readKBPerSec = round1(megabytes(random)),
                         .writeKBPerSec = round1(megabytes(random)),
                         .transfersPerSec = 120.5};
    m.network = NetworkMetrics{.interface = "wlp0s20f3",
                               .packetsIn = 123456789 + index,
                               .packetsOut = 98765432,
                               .bytesIn = 98765432109,
                               .bytesOut = 1234567890,
                               .errorsIn = 0,
                               .errorsOut = 0,
                               .internetConnected = true};
    ProcessMetrics processes;
    processes.topCPU.emplace();
    processes.topMemory.emplace();
    for (int i = 0; i < 10; ++i) {
        const ProcessMetricInfo info{.pid = 1000 + i * 37,
                                     .ppid = 1,
                                     .name = kProcessNames[i],
                                     .cpuPercent = round1(percent(random)),
                                     .memoryMB = round1(megabytes(random))};
        processes.topCPU->push_back(info);
        ProcessMetricInfo byMemory = info;
        byMemory.name = kProcessNames[19 - i];
        processes.topMemory->push_back(byMemory);
    }
    processes.topNetwork.emplace();
    processes.topDisk.emplace();
    for (int i = 0; i < 5; ++i) {
        processes.topNetwork->push_back({.pid = 2000 + i,
                                         .name = kProcessNames[i + 3],
                                         .bytesIn = 1234567ULL * (i + 1),
                                         .bytesOut = 7654321});
        processes.topDisk->push_back({.pid = 3000 + i,
                                      .name = kProcessNames[i + 8],
                                      .readBytesPerSec = round1(megabytes(random) * 1024),
                                      .writeBytesPerSec = round1(megabytes(random) * 1024)});
    }
    processes.processCount = 412;
    m.processes = processes;
    m.power = PowerMetrics{.onBattery = false,
                           .onAC = true,
                           .batteryPercent = 87,
                           .batteryState = "charging",
                           .preventSleepAssertions = 2};
    GPUMetrics gpu{.model = "Intel Iris Xe Graphics",
                   .coreCount = 96,
                   .deviceUtilization = 23,
                   .rendererUtilization = 21,
                   .tilerUtilization = 4,
                   .inUseMemoryBytes = 1234567890,
                   .allocatedMemoryBytes = 2345678901};
    gpu.topGPU.emplace();
    for (int i = 0; i < 5; ++i) {
        gpu.topGPU->push_back({.pid = 4000 + i,
                               .name = kProcessNames[i],
                               .accumulatedGPUTimeNs = 123456789012ULL + i});
    }
    m.gpu = gpu;
    m.system = SystemInfo{.uptimeSeconds = 123456 + 2 * index,
                          .uptimeHours = 34.3,
                          .macOSVersion = "Debian GNU/Linux 12 (bookworm) 6.1.0-18-amd64",
                          .hardwareModel = "LENOVO 20XW00A1US ThinkPad X1 Carbon Gen 9",
                          .cpuBrand = "11th Gen Intel(R) Core(TM) i7-1185G7 @ 3.00GHz",
                          .consoleUser = "alice",
                          .performanceCores = 4,
                          .efficiencyCores = 0,
                          .gpuCores = 96,
                          .chipDescription = "Intel Tiger Lake-LP GT2"};
    return m;
}

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
    std::mt19937 random(1);
    const SystemMetrics sample = realisticSample(0, random);
    for (auto _ : state) {
        if (!storage.save(sample)) state.SkipWithError("save failed");
    }
    state.SetLabel(config.uploadEnabled ? "with upload queue" : "metric file only");
    storage.close();
    std::filesystem::remove_all(folder);
}
BENCHMARK(BM_SaveSample)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

// Writes one day of samples once per process: as one daily file and as 24 hourly files.
struct DayFiles {
    std::filesystem::path daily;
    std::filesystem::path hourly;
    uint64_t bytes = 0;

    static const DayFiles& get() {
        static const DayFiles files = make();
        return files;
    }

    static DayFiles make() {
        DayFiles files{benchFolder("ostrel-bench-daily"), benchFolder("ostrel-bench-hourly"), 0};
        std::mt19937 random(7);
        std::ofstream daily(files.daily / "metrics-2025-11-15.jsonl", std::ios::binary);
        std::ofstream hour;
        std::string line;
        for (int i = 0; i < kSamplesPerDay; ++i) {
            if (i % (kSamplesPerDay / 24) == 0) {
                char name[64];
                std::snprintf(name, sizeof name, "metrics-2025-11-15-%02d.jsonl",
                              i / (kSamplesPerDay / 24));
                hour = std::ofstream(files.hourly / name, std::ios::binary);
            }
            line.clear();
            (void)appendJson(line, realisticSample(i, random));
            line += '\n';
            daily << line;
            hour << line;
            files.bytes += line.size();
        }
        return files;
    }
};

void loadDay(benchmark::State& state, const std::filesystem::path& folder) {
    const DayFiles& day = DayFiles::get();
    const auto listed = std::filesystem::directory_iterator(folder);
    std::vector<std::filesystem::path> all;
    for (const auto& entry : listed)
        all.push_back(entry.path());
    std::sort(all.begin(), all.end());
    for (auto _ : state) {
        const auto files = MetricsStorage::filterFilesForDay(all, "2025-11-15");
        const auto samples = MetricsStorage::loadFilesInParallel(files);
        if (samples.size() != kSamplesPerDay) state.SkipWithError("lines were lost");
        benchmark::DoNotOptimize(samples.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * day.bytes));
    state.counters["MB"] = static_cast<double>(day.bytes) / 1e6;
    state.counters["files"] = static_cast<double>(all.size());
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
