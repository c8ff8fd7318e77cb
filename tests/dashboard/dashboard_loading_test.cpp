// Loading by day and from picked files: phases, hosts, zones and the chunked reader.
#include "dashboard_fixture.h"

namespace ostrel::testing {
namespace {

TEST_F(DashboardTest, AVisibleLoadStepsThroughItsPhasesAndReadsTheSourceZone) {
    write("metrics-2026-11-21-10.jsonl", samples(kTen - 24h, 3));
    write("metrics-2026-11-22-10.jsonl", samples(kTen, 40));
    write("metrics-2026-11-22-10.jsonl",
          std::vector<AlertEvent>{{.timestamp = kTen,
                                   .hostname = "host-a",
                                   .alert = {.type = "cpu_high", .message = "m", .value = "v"}}});
    std::vector<std::string> labels;
    std::vector<double> progress;
    auto watchLabel = model->loadPhaseLabel.subscribe([&](auto& l) { labels.push_back(l); });
    auto watchProgress = model->loadProgress.subscribe([&](double p) { progress.push_back(p); });

    model->loadMetrics();
    EXPECT_EQ(model->fetchPhase->kind, FetchPhase::Kind::fetching);
    dispatcher.runUntilIdle();

    EXPECT_EQ(labels,
              (std::vector<std::string>{"Discovering data...", "Reading metrics from disk...",
                                        "Building charts...", ""}));
    EXPECT_EQ(progress, (std::vector<double>{0, 0.1, -1, 1}));
    ASSERT_EQ(model->fetchPhase->kind, FetchPhase::Kind::success);
    EXPECT_EQ(model->fetchPhase->samples.size(), 40u);
    EXPECT_EQ(model->availableDays.get(), (std::vector<std::string>{"2026-11-22", "2026-11-21"}));
    EXPECT_EQ(model->selectedDay(), "2026-11-22");
    EXPECT_EQ(model->alertEvents->size(), 1u);
    EXPECT_EQ(model->sourceTimezone.get(), (SourceTimeZone{-18000, "GMT-0500"}));
    EXPECT_EQ(model->cachedTimeRangeString(), "Nov 22, 5:00 AM – Nov 22, 5:01 AM");
    EXPECT_EQ(model->zoomFilteredSeries().cpuUsage.size(), 40u);
    EXPECT_FALSE(model->isRebuilding.get());
}

TEST_F(DashboardTest, AnEmptyStoreOrAMissingStoreEndsTheLoadWithoutData) {
    load();
    EXPECT_EQ(model->fetchPhase->kind, FetchPhase::Kind::empty);
    EXPECT_TRUE(model->availableDays->empty());
    EXPECT_FALSE(model->selectedDay());

    auto noStore = makeModel(nullptr);
    noStore->loadMetrics();
    dispatcher.runUntilIdle();
    ASSERT_EQ(noStore->fetchPhase->kind, FetchPhase::Kind::failure);
    EXPECT_EQ(noStore->fetchPhase->error->errorDescription(), "Metrics storage is not available");
    EXPECT_EQ(noStore->loadProgress.get(), 1);
}

TEST_F(DashboardTest, TwoHostsShowTheFirstByNameAndARefreshFallsBackToIt) {
    auto lines = samples(kTen, 4, 2s, "zulu");
    for (auto& sample : samples(kTen + 1s, 3, 2s, "alpha"))
        lines.push_back(sample);
    write("metrics-2026-11-22.jsonl", lines);
    load();
    EXPECT_EQ(model->multipleHostnamesDetected.get(), (std::vector<std::string>{"alpha", "zulu"}));
    EXPECT_EQ(model->selectedHostname.get(), "alpha");
    EXPECT_EQ(model->metrics->size(), 3u);

    model->selectHostname("zulu");
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->metrics->size(), 4u);
    EXPECT_EQ(model->cached().sampleCount, 4);

    model->selectHostname("nobody");
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->selectedHostname.get(), "nobody");
    EXPECT_EQ(model->metrics->size(), 4u);

    load();  // a silent refresh: the selection falls back to the first name
    EXPECT_EQ(model->selectedHostname.get(), "alpha");
    EXPECT_EQ(model->metrics->size(), 3u);
}

TEST_F(DashboardTest, PickedFilesAreReadInChunksWithTheirOwnFilter) {
    // A line of 300,000 bytes spans two 256 KiB chunks; the last line has no line feed.
    SystemMetrics longLine = westSample(kTen, 20);
    longLine.processes->topCPU->front().name = std::string(300'000, 'p');
    const std::string watched = R"({"event_type":"watched_process","timestamp":"x"})";
    const std::string alert = *encodeJson(
        AlertEvent{.timestamp = kTen + 9s, .hostname = "other", .alert = {.type = "t"}});
    dir.write("picked/a.jsonl", *encodeJson(westSample(kTen + 4s, 30)) + "\n\n" + watched +
                                    "\nnot json\n" + *encodeJson(longLine) + "\n" +
                                    *encodeJson(westSample(kTen + 2s, 40)));
    dir.write("picked/b.JSONL", *encodeJson(westSample(kTen, 50)) + "\n");
    dir.write("picked/c.jsonl", alert + "\n");

    model->loadFromExternalPaths({dir / "picked/a.jsonl"});
    EXPECT_EQ(model->externalSourcePath.get(), "a.jsonl");
    EXPECT_EQ(model->fetchPhase->kind, FetchPhase::Kind::fetching);
    dispatcher.runUntilIdle();
    ASSERT_EQ(model->fetchPhase->kind, FetchPhase::Kind::success);
    // Sorted by the timestamp's text; the long line decoded whole.
    ASSERT_EQ(model->metrics->size(), 3u);
    EXPECT_EQ(model->metrics.get()[0].processes.topCPU->front().name.size(), 300'000u);
    EXPECT_EQ(model->metrics.get()[2].cpu->userPercent, 30);
    EXPECT_EQ(model->externalSourceHostname.get(), "host-a");

    // A folder, one level deep: the capitalised extension is skipped; the alert line passes
    // the narrow filter and reads as a sample of its own host with no sections.
    model->loadFromExternalPaths({dir / "picked"});
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->externalSourcePath.get(), "picked");
    EXPECT_EQ(model->multipleHostnamesDetected.get(),
              (std::vector<std::string>{"host-a", "other"}));
    model->selectHostname("other");
    dispatcher.runUntilIdle();
    ASSERT_EQ(model->metrics->size(), 1u);
    EXPECT_FALSE(model->metrics.get()[0].cpu);

    model->loadFromExternalPaths({dir.path(), dir / "missing.jsonl"});
    EXPECT_EQ(model->externalSourcePath.get(), "2 files");
    dispatcher.runUntilIdle();
    EXPECT_EQ(model->fetchPhase->kind, FetchPhase::Kind::empty);

    model->clearExternalData();
    dispatcher.runUntilIdle();
    EXPECT_FALSE(model->externalSourcePath.get());
}

}  // namespace
}  // namespace ostrel::testing
