// Process analysis: presence and impact, table order, one watched process's series.
#include "dashboard/process_analysis.h"

#include "dashboard_fixture.h"

namespace ostrel::testing {
namespace {

ProcessAggregate seen(int64_t events, int64_t total, double peakCPU = 0, double peakMB = 0) {
    return {.name = std::to_string(events),
            .peakCPU = peakCPU,
            .peakMemoryMB = peakMB,
            .eventCount = events,
            .totalSamples = total};
}

TEST(ProcessAnalysisTest, ImpactFollowsPresenceAtItsBoundaries) {
    EXPECT_EQ(seen(75, 100).impact(), "Sustained");
    EXPECT_EQ(seen(74, 100).impact(), "Recurring");
    EXPECT_EQ(seen(25, 100).impact(), "Recurring");
    EXPECT_EQ(seen(24, 100).impact(), "Spike");
    EXPECT_EQ(seen(3, 0).presence(), 0);
    EXPECT_EQ(seen(3, 0).impact(), "Spike");
}

TEST(ProcessAnalysisTest, TablesFilterByImpactAndSortStablyByTheirColumn) {
    const std::vector<ProcessAggregate> rows = {seen(80, 100, 5, 300), seen(10, 100, 50, 100),
                                                seen(30, 100, 5, 900), seen(90, 100, 1, 900)};
    const auto names = [](const std::vector<ProcessAggregate>& shown) {
        std::vector<std::string> out;
        for (const auto& row : shown)
            out.push_back(row.name);
        return out;
    };
    using Sort = ProcessSortMode;
    using Filter = ProcessFilterMode;
    EXPECT_EQ(names(filteredAndSortedProcesses(rows, Filter::all, Sort::usage, true)),
              (std::vector<std::string>{"80", "10", "30", "90"}));
    EXPECT_EQ(names(filteredAndSortedProcesses(rows, Filter::all, Sort::peak, false)),
              (std::vector<std::string>{"30", "90", "80", "10"}));  // memory; ties stay
    EXPECT_EQ(names(filteredAndSortedProcesses(rows, Filter::all, Sort::peak, true)),
              (std::vector<std::string>{"10", "80", "30", "90"}));
    EXPECT_EQ(names(filteredAndSortedProcesses(rows, Filter::sustained, Sort::presence, true)),
              (std::vector<std::string>{"90", "80"}));
    EXPECT_EQ(rawValue(Filter::spike), "Spike");
    EXPECT_EQ(filteredProcesses({"Firefox", "code", "fire-watch"}, "FIRE"),
              (std::vector<std::string>{"Firefox", "fire-watch"}));
    EXPECT_EQ(normalizationCores(std::nullopt), 8);
}

WatchedProcessEvent watched(const std::string& pattern, const std::string& timestamp, double cpu) {
    return {.timestamp = timestamp,
            .hostname = "host-a",
            .watched = {.pattern = pattern,
                        .cpuPercent = cpu,
                        .memoryMB = 100,
                        .networkBytesIn = 2048,
                        .diskWriteBytesPerSec = 512}};
}

TEST_F(DashboardTest, ASelectedProcessFollowsTheZoomTheDayAndTheNormalisation) {
    write("metrics-2026-11-22.jsonl", samples(kTen, 60));
    write("metrics-2026-11-22.jsonl",
          std::vector<WatchedProcessEvent>{watched("db", "2026-11-22T10:00:10.000Z", 40),
                                           watched("db", "2026-11-22T10:00:00.000Z", 80),
                                           watched("db", "garbage", 10),
                                           watched("web", "2026-11-22T10:00:00.000Z", 5)});
    write("metrics-2026-11-21.jsonl", samples(kTen - 24h, 3));
    load();
    EXPECT_EQ(model->availableProcessPatterns(), (std::vector<std::string>{"db", "web"}));

    model->selectProcess("db");
    const ProcessSeries& whole = model->processSearchData();
    ASSERT_EQ(whole.cpu.size(), 2u);  // the unparsable event is left out, the rest sorted
    EXPECT_EQ(whole.cpu[0].value, 80);
    EXPECT_EQ(whole.cpu[0].label, "db");
    EXPECT_EQ(whole.networkIn[0].value, 2);
    EXPECT_EQ(whole.networkIn[0].label, "In");
    EXPECT_EQ(whole.diskWrite[0].value, 0.5);

    // With normalisation, per-core percent becomes a share of the latest sample's 4 cores.
    model->normalizeCPU.set(true);
    EXPECT_EQ(model->processSearchCPUData()[0].value, 20);
    EXPECT_EQ(preferences->userValue(DashboardViewModel::kNormalizeCPUKey), PreferenceValue(true));

    // A zoom cuts the shown series; the whole ones keep every point.
    model->setZoom(kTen + 5s, kTen + 60s);
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->zoomFilteredProcessData().cpu.size(), 1u);
    EXPECT_EQ(model->processSearchData().cpu.size(), 2u);

    // A day without the pattern empties the series but keeps the selection.
    model->setSelectedDay("2026-11-21");
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->selectedProcess.get(), "db");
    EXPECT_TRUE(model->processSearchData().cpu.empty());
    EXPECT_TRUE(model->availableProcessPatterns().empty());
}

}  // namespace
}  // namespace ostrel::testing
