// One upload interval's worth of samples (five minutes at the default two seconds): how fast
// its body is built, and how many events per second reach a local collector over TLS.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "support/hec_test_server.h"
#include "support/sample_records.h"
#include "upload/splunk_hec_client.h"

namespace {

using namespace std::chrono_literals;

constexpr int kSamplesPerUpload = 150;

std::vector<ostrel::HECBatchEntry> uploadInterval() {
    std::vector<ostrel::HECBatchEntry> entries;
    const ostrel::Date start = ostrel::systemClock().now();
    for (int i = 0; i < kSamplesPerUpload; ++i) {
        auto sample = ostrel::testing::realisticSample(start + i * 2s, i);
        entries.push_back({sample, sample.timestamp, sample.hostname});
    }
    return entries;
}

void BM_BuildBatchBody(benchmark::State& state) {
    const auto entries = uploadInterval();
    const ostrel::HECBatchEncoder encoder("main", "macos:ostrel");
    size_t bodyBytes = 0;
    for (auto _ : state) {
        auto body = encoder.encode(entries, ostrel::systemClock());
        if (!body) std::abort();
        bodyBytes = body->size();
        benchmark::DoNotOptimize(body->data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bodyBytes));
    state.counters["body_bytes"] = static_cast<double>(bodyBytes);
}
BENCHMARK(BM_BuildBatchBody);

void BM_SendBatchToLocalCollector(benchmark::State& state) {
    ostrel::testing::HecTestServer server;
    auto client = ostrel::SplunkHECClient::create(server.url(), server.token(), "main",
                                                  "macos:ostrel", false);
    if (!client) std::abort();
    const auto entries = uploadInterval();
    for (auto _ : state) {
        if (!(*client)->sendBatch(entries)) std::abort();
        state.PauseTiming();
        server.clearExchanges();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kSamplesPerUpload);
}
BENCHMARK(BM_SendBatchToLocalCollector)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
