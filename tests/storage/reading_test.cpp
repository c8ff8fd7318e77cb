#include <fmt/format.h>
#include <gtest/gtest.h>

#include "storage_test_support.h"
#include "support/log_recorder.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using testing::hosts;
using testing::line;
using testing::sample;
using testing::watched;

std::string alertAt(const std::string& writer, const char* utc) {
    return line(testing::alert(writer, 0, *Formatters::parseIso8601(utc)));
}

class Reading : public ::testing::Test, public testing::StoreFixture {};

TEST_F(Reading, EachLoaderTakesOnlyItsOwnWholeLines) {
    // An alert decodes as a sample (it has timestamp and hostname): only the byte test keeps
    // it out, and older files spell the key with an underscore.
    const std::string oldAlert = R"({"timestamp":"t","hostname":"y","event_type":"alert"})"
                                 "\n";
    const std::string half = line(sample("a", 9)).substr(0, 30);
    std::string crlfLate = alertAt("late", "2026-11-15T11:00:00Z");
    crlfLate.insert(crlfLate.size() - 1, "\r");
    SystemMetrics huge = sample("a", 2);
    huge.hostname += std::string(600 * 1024, 'x');  // longer than a read block
    dir.write("data/metrics/metrics-2026-11-14.jsonl",
              alertAt("old", "2026-11-14T09:00:00Z") + line(watched("w0")));
    dir.write("data/metrics/metrics-2026-11-15.jsonl",
              line(sample("a", 1)) + "\n\ngarbage\n" + alertAt("first", "2026-11-15T09:00:00Z") +
                  line(watched("w1")) + oldAlert + line(huge) + crlfLate +
                  alertAt("second", "2026-11-15T09:00:00Z") + line(watched("w2")) + half);
    auto storage = make();
    EXPECT_EQ(hosts(MetricsStorage::loadFilesInParallel(*storage.metricsFiles())),
              (std::vector<std::string>{"a-1", huge.hostname}));
    // Alerts later first, equal times in file order; watched events in file order.
    EXPECT_EQ(hosts(storage.loadAlertEvents("2026-11-15")),
              (std::vector<std::string>{"late-0", "first-0", "second-0"}));
    EXPECT_EQ(storage.loadAllAlertEvents().back().hostname, "old-0");
    EXPECT_EQ(storage.loadAllWatchedProcessEvents(),
              (std::vector{watched("w0"), watched("w1"), watched("w2")}));
    EXPECT_EQ(storage.loadWatchedProcessEvents("2026-11-14").size(), 1u);

    // One pass over a file sorts its lines out as the three loaders do.
    const auto file = dir / "data/metrics/metrics-2026-11-15.jsonl";
    const auto records = MetricsStorage::loadRecordsFromFile(file);
    EXPECT_EQ(records.samples, MetricsStorage::loadFilesInParallel({file}));
    EXPECT_EQ(records.alertEvents, storage.loadAlertEvents("2026-11-15"));
    EXPECT_EQ(records.watchedEvents, storage.loadWatchedProcessEvents("2026-11-15"));
}

TEST_F(Reading, DaysAndTheFilesOfADay) {
    for (const char* name :
         {"metrics-2026-11-15-08.jsonl", "metrics-2026-11-15-07.jsonl", "metrics-2026-11-15.jsonl",
          "metrics-2026-11-14.jsonl", "metrics-2026-11-150.jsonl", "notes.txt"}) {
        dir.write(std::string("data/metrics/") + name, line(sample(name, 0)));
    }
    dir.write("data/pending.jsonl", "");
    auto storage = make();
    EXPECT_EQ(storage.availableDays(), (std::vector<std::string>{"2026-11-15", "2026-11-14"}));
    auto files = *storage.metricsFiles();
    files.push_back(dir / "data/pending.jsonl");
    // The daily name sorts ahead of the hours of its day.
    EXPECT_EQ(
        hosts(MetricsStorage::loadFilesInParallel(
            MetricsStorage::filterFilesForDay(files, "2026-11-15"))),
        (std::vector<std::string>{"metrics-2026-11-15.jsonl-0", "metrics-2026-11-15-07.jsonl-0",
                                  "metrics-2026-11-15-08.jsonl-0"}));
}

// Whole records compared, without printing: there are thousands.
TEST_F(Reading, ParallelLoadKeepsFileOrderAndSkipsVanishedFiles) {
    std::vector<std::filesystem::path> files;
    std::vector<SystemMetrics> inTurn, withoutFourth;
    for (int f = 0; f < 12; ++f) {
        std::string text;
        for (int i = 0; i < 100 + f * 37; ++i) {
            inTurn.push_back(sample("f" + std::to_string(f), i));
            text += line(inTurn.back());
            if (f != 3) withoutFourth.push_back(inTurn.back());
        }
        files.push_back(
            dir.write(fmt::format("data/metrics/metrics-2026-11-{:02}.jsonl", f + 1), text));
    }
    EXPECT_TRUE(MetricsStorage::loadFilesInParallel(files) == inTurn);
    // Listed, then gone before it is read: the others still load, in order.
    std::filesystem::remove(files[3]);
    EXPECT_TRUE(MetricsStorage::loadFilesInParallel(files) == withoutFourth);
    EXPECT_EQ(MetricsStorage::loadMetricsFromFile(files[3]), std::nullopt);
}

TEST_F(Reading, UnreadableFolderGivesEmptyAnswers) {
    testing::LogRecorder log;
    auto storage = make();
    const StorageHealth empty{.storageDirectory = (dir / "data/metrics").string()};
    EXPECT_EQ(storage.getHealth(), empty);
    std::filesystem::remove(dir / "data/metrics");
    dir.write("data/metrics", "a file where the folder was");
    EXPECT_EQ(storage.metricsFiles(), std::nullopt);
    EXPECT_TRUE(storage.availableDays().empty());
    EXPECT_TRUE(storage.loadWatchedProcessEvents("2026-11-15").empty());
    storage.invalidateAllCaches();
    EXPECT_EQ(storage.getHealth(), empty);
    storage.clearAll();
    EXPECT_TRUE(log.entries().empty());
    // That empty answer was not cached.
    std::filesystem::remove(dir / "data/metrics");
    dir.write("data/metrics/metrics-2026-11-15.jsonl", line(sample("a", 0)));
    EXPECT_EQ(storage.getHealth().totalFilesCount, 1);
}

TEST_F(Reading, HealthFiguresAndTheirCache) {
    auto storage = make();
    dir.write("data/metrics/metrics-2026-11-13.jsonl", std::string(1099, ' '));
    EXPECT_EQ(storage.getHealth().pendingRecords, 0);
    clock.advance(30s);
    dir.write("data/metrics/metrics-2026-11-13.jsonl", std::string(1100, ' '));
    EXPECT_EQ(storage.getHealth().pendingRecords, 1);
    clock.advance(30s);

    // The first line of the first file is an event, with its own form of time; the last line
    // of the last file is longer than the slice read from the end at first.
    dir.write("data/metrics/metrics-2026-11-13.jsonl", line(watched("w")) + line(sample("a", 0)));
    SystemMetrics last = sample("b", 1);
    last.timestamp = "2026-11-15T23:59:58.000Z";
    last.hostname += std::string(9000, 'x');
    ASSERT_TRUE(storage.save(last));
    const auto health = storage.getHealth();
    EXPECT_EQ(health.totalFilesCount, 2);
    EXPECT_EQ(health.oldestRecordTimestamp, "2026-11-15T10:00:00.000Z");
    EXPECT_EQ(health.newestRecordTimestamp, "2026-11-15T23:59:58.000Z");
    const auto modified = std::filesystem::last_write_time(today());
    EXPECT_EQ(health.lastWriteTimestamp,
              Formatters::iso8601(std::chrono::file_clock::to_sys(modified)));

    // A save does not refresh the figures; thirty seconds do.
    ASSERT_TRUE(storage.save(sample("b", 2)));
    clock.advance(29s);
    EXPECT_EQ(storage.getHealth(), health);
    clock.advance(1s);
    EXPECT_GT(storage.getHealth().pendingSizeMB, health.pendingSizeMB);
}

}  // namespace
}  // namespace ostrel
