// Encode and decode throughput of the three kinds of metric-file line, on one core.
#include <benchmark/benchmark.h>

#include "records/record_json.h"
#include "support/sample_records.h"

namespace ostrel {
namespace {

template <class Record>
void encodeLine(benchmark::State& state, const Record& record) {
    std::string line;
    size_t bytes = 0;
    for (auto _ : state) {
        line.clear();
        if (!appendJson(line, record)) state.SkipWithError("encoding failed");
        bytes += line.size();
        benchmark::DoNotOptimize(line.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
    state.counters["lines/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["line_bytes"] = static_cast<double>(line.size());
}

template <class Record>
void decodeLine(benchmark::State& state, const Record& record) {
    const std::string line = *encodeJson(record);
    for (auto _ : state) {
        auto decoded = decodeJson<Record>(line);
        if (!decoded) state.SkipWithError("decoding failed");
        benchmark::DoNotOptimize(decoded);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * line.size()));
    state.counters["lines/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

const Date kWhen = Date(std::chrono::seconds(1795360530));

void EncodeSample(benchmark::State& s) {
    encodeLine(s, testing::realisticSample(kWhen, 1));
}
void DecodeSample(benchmark::State& s) {
    decodeLine(s, testing::realisticSample(kWhen, 1));
}
void EncodeWatchedEvent(benchmark::State& s) {
    encodeLine(s, testing::realisticWatchedEvent(kWhen, 1));
}
void DecodeWatchedEvent(benchmark::State& s) {
    decodeLine(s, testing::realisticWatchedEvent(kWhen, 1));
}
void EncodeAlertEvent(benchmark::State& s) {
    encodeLine(s, testing::realisticAlertEvent(kWhen));
}
void DecodeAlertEvent(benchmark::State& s) {
    decodeLine(s, testing::realisticAlertEvent(kWhen));
}

BENCHMARK(EncodeSample);
BENCHMARK(DecodeSample);
BENCHMARK(EncodeWatchedEvent);
BENCHMARK(DecodeWatchedEvent);
BENCHMARK(EncodeAlertEvent);
BENCHMARK(DecodeAlertEvent);

}  // namespace
}  // namespace ostrel

BENCHMARK_MAIN();
