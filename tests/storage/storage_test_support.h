#pragma once

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "records/formatters.h"
#include "records/record_json.h"
#include "storage/metrics_storage.h"
#include "support/temp_dir.h"

namespace ostrel::testing {

// A clock that moves only when told; safe to read from several threads.
class ManualClock final : public Clock {
  public:
    explicit ManualClock(Date start) : nanos_(start.time_since_epoch().count()) {}
    Date now() const override { return Date(Date::duration(nanos_.load())); }
    Duration monotonic() const override { return Duration(nanos_.load()); }
    void advance(Duration by) { nanos_ += std::chrono::duration_cast<Date::duration>(by).count(); }

  private:
    std::atomic<Date::rep> nanos_;
};

// The hostname carries the writer and a number, so order and loss can be checked.
inline SystemMetrics sample(const std::string& writer, int index) {
    SystemMetrics m{.timestamp = "2026-11-15T12:00:00.000Z",
                    .hostname = writer + "-" + std::to_string(index)};
    m.cpu = CPUMetrics{.cpuCount = 4, .loadPercent = 1.5};
    return m;
}
inline AlertEvent alert(const std::string& writer, int index, Date when) {
    return {.timestamp = when,
            .hostname = writer + "-" + std::to_string(index),
            .alert = {.type = "cpu_high", .message = "High CPU", .value = "95.0"}};
}
inline WatchedProcessEvent watched(const std::string& pattern) {
    return {
        .timestamp = "2026-11-15T10:00:00.000Z", .hostname = "h", .watched = {.pattern = pattern}};
}
template <class Record>
std::string line(const Record& record) {
    return *encodeJson(record) + "\n";
}

template <class Record>
std::vector<std::string> hosts(const std::vector<Record>& records) {
    std::vector<std::string> result;
    for (const auto& record : records)
        result.push_back(record.hostname);
    return result;
}

inline std::vector<std::string> linesOf(const std::filesystem::path& file) {
    std::vector<std::string> lines;
    const std::string text = readFile(file);
    for (size_t start = 0, feed; start < text.size(); start = feed + 1) {
        feed = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, feed - start));
    }
    return lines;
}

// A store in a fresh folder on a clock of its own, in UTC so that names are predictable.
struct StoreFixture {
    TempDir dir;
    ManualClock clock{*Formatters::parseIso8601("2026-11-15T10:59:58Z")};

    StoreFixture() {
        setenv("TZ", "UTC", 1);
        tzset();
    }
    MetricsStorage make(MonitorConfig config = {}) {
        return MetricsStorage(std::move(config), dir / "data", clock, dir / "logs");
    }
    std::filesystem::path metrics(const std::string& name) const {
        return dir / "data/metrics" / name;
    }
    std::filesystem::path upload(const std::string& name) const {
        return dir / "data/upload" / name;
    }
    std::filesystem::path today() const { return metrics("metrics-2026-11-15.jsonl"); }
};

}  // namespace ostrel::testing
