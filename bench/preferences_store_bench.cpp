// What a preferences read costs when every read looks for other processes' writes (the logger
// reads "logLevel" on every message), and what a write costs with its lock and atomic replace.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>

#include "config/configuration_manager.h"
#include "platform/linux/file_preferences_store.h"

namespace {

using ostrel::FilePreferencesStore;

// A store over a fresh folder whose user file holds a full set of saved settings.
struct Fixture {
    Fixture() {
        std::string pattern = (std::filesystem::temp_directory_path() / "ostrel-bench-XXXXXX");
        folder = mkdtemp(pattern.data());
        store =
            std::make_shared<FilePreferencesStore>(folder / "user.json", folder / "managed.json");
        ostrel::ConfigurationManager(store).saveToDefaults();
    }
    ~Fixture() { std::filesystem::remove_all(folder); }

    std::filesystem::path folder;
    std::shared_ptr<FilePreferencesStore> store;
};

void BM_ReadUnchangedFile(benchmark::State& state) {
    Fixture fixture;
    fixture.store->synchronize();
    benchmark::DoNotOptimize(fixture.store->integer("logLevel"));
    for (auto _ : state) {
        benchmark::DoNotOptimize(fixture.store->integer("logLevel"));
    }
}
BENCHMARK(BM_ReadUnchangedFile);

void BM_ReloadChangedFile(benchmark::State& state) {
    Fixture fixture;
    for (auto _ : state) {
        fixture.store->synchronize();
    }
}
BENCHMARK(BM_ReloadChangedFile);

void BM_WriteChangedValue(benchmark::State& state) {
    Fixture fixture;
    int64_t value = 0;
    for (auto _ : state) {
        fixture.store->set("intervalSeconds", ++value);
    }
}
BENCHMARK(BM_WriteChangedValue)->Unit(benchmark::kMillisecond);

void BM_WriteUnchangedValue(benchmark::State& state) {
    Fixture fixture;
    for (auto _ : state) {
        fixture.store->set("intervalSeconds", 2);
    }
}
BENCHMARK(BM_WriteUnchangedValue)->Unit(benchmark::kMicrosecond);

void BM_LoadConfiguration(benchmark::State& state) {
    Fixture fixture;
    ostrel::ConfigurationManager manager(fixture.store);
    for (auto _ : state) {
        manager.load();
    }
}
BENCHMARK(BM_LoadConfiguration)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
