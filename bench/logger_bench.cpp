// What a caller pays per message: the system-log hand-off (a sink that drops, so the logger's
// own cost shows), the threshold read, and for a message that passes, the stamp, the line and
// the hand-off to the file queue. The file itself is written on the logger's thread meanwhile.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <map>
#include <mutex>

#include "logging/logger.h"
#include "platform/app_paths.h"
#include "platform/clock.h"
#include "platform/preferences_store.h"

namespace {

using ostrel::Logger;

class DroppingSink final : public Logger::Sink {
  public:
    void write(Logger::Level, Logger::Category, std::string_view) override {}
};

// Locked like a real store, so the read costs what it would.
class OneKeyStore final : public ostrel::PreferencesStore {
  public:
    std::optional<ostrel::PreferenceValue> object(std::string_view key) const override {
        std::lock_guard lock(mutex_);
        if (auto it = values_.find(key); it != values_.end()) return it->second;
        return std::nullopt;
    }
    ostrel::PreferenceWrite set(std::string_view key, ostrel::PreferenceValue value) override {
        std::lock_guard lock(mutex_);
        values_.insert_or_assign(std::string(key), std::move(value));
        return {};
    }
    ostrel::PreferenceWrite remove(std::string_view) override { return {}; }
    bool isForced(std::string_view) const override { return false; }
    std::optional<std::string> managedLayerError() const override { return std::nullopt; }
    void synchronize() override {}

  private:
    mutable std::mutex mutex_;
    ostrel::PreferenceDictionary values_;
};

// A scratch folder for the file, so a run never touches the user's own log.
class Scratch {
  public:
    Scratch() {
        std::string pattern = (std::filesystem::temp_directory_path() / "ostrel-bench-XXXXXX");
        folder_ = ::mkdtemp(pattern.data()) ? pattern : "/tmp";
        Logger::setSystemLog(std::make_shared<DroppingSink>());
        Logger::setPreferences(store_);
        Logger::setLogFile(folder_ / "ostrel.log", ostrel::systemClock());
    }
    ~Scratch() {
        Logger::flush();
        Logger::setLogFile(ostrel::paths::logFile(), ostrel::systemClock());
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

  private:
    std::shared_ptr<OneKeyStore> store_ = std::make_shared<OneKeyStore>();
    std::filesystem::path folder_;
};

void BM_FilteredMessage(benchmark::State& state) {
    for (auto _ : state)
        Logger::debug("Collected sample in 12 ms", Logger::Category::collection);
}
BENCHMARK(BM_FilteredMessage)->Threads(1)->Threads(2);

void BM_WrittenMessage(benchmark::State& state) {
    for (auto _ : state)
        Logger::warning("Upload queue holds 3 files", Logger::Category::network);
    // Outside the timed loop: the writer's backlog belongs to this run, not the next.
    if (state.thread_index() == 0) Logger::flush();
}
BENCHMARK(BM_WrittenMessage)->Threads(1)->Threads(2);

}  // namespace

int main(int argc, char** argv) {
    Scratch scratch;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
