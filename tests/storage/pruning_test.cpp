#include <fmt/format.h>
#include <gtest/gtest.h>

#include "storage_test_support.h"
#include "support/log_recorder.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using testing::sample;

constexpr uint64_t kMiB = 1024 * 1024;

class Pruning : public ::testing::Test, public testing::StoreFixture {
  protected:
    // A metric file of the given size that takes no room on disk.
    void sparse(const std::string& name, uint64_t bytes) {
        std::filesystem::resize_file(dir.write("data/metrics/" + name, ""), bytes);
    }
    // Ten saved samples: one check.
    void saveTen(MetricsStorage& storage) {
        for (int i = 0; i < 10; ++i)
            ASSERT_TRUE(storage.save(sample("a", i)));
    }
    std::vector<std::string> remaining() {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(dir / "data/metrics"))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    testing::LogRecorder log;
};

TEST_F(Pruning, OverTheLimitRemovesOldestFilesDownToEightyPercent) {
    auto storage = make({.maxStorageMB = 100});
    for (int day = 1; day <= 10; ++day)
        sparse(fmt::format("metrics-2026-11-{:02}.jsonl", day), 13 * kMiB);
    saveTen(storage);
    EXPECT_EQ(log.matching("Storage size 130.0MB exceeds max 100MB, pruning").size(), 1u);
    EXPECT_EQ(log.matching("[prune_size]"),
              std::vector<std::string>{
                  "[prune_size] files_deleted=4, reason=exceeded_max_storage_mb, target_mb=80.0"});
    EXPECT_EQ(remaining().front(), "metrics-2026-11-05.jsonl");
    EXPECT_EQ(remaining().size(), 7u);
    // The figures are fresh after a prune, so the next check does not prune again.
    saveTen(storage);
    EXPECT_EQ(log.matching("[prune_size]").size(), 1u);
}

TEST_F(Pruning, SizeLimitEdges) {
    auto storage = make({.maxStorageMB = 1});
    for (int i = 0; i < 9; ++i)
        ASSERT_TRUE(storage.save(sample("a", i)));
    // Exactly at the limit after the tenth line: not pruned, the test is strictly above.
    sparse("metrics-2026-11-01.jsonl",
           kMiB - std::filesystem::file_size(today()) - testing::line(sample("a", 9)).size());
    ASSERT_TRUE(storage.save(sample("a", 9)));
    EXPECT_TRUE(log.matching("exceeds max").empty());

    // Over it, with a folder in the way that cannot be unlinked: counted, and the loop ends.
    std::filesystem::remove(metrics("metrics-2026-11-01.jsonl"));
    std::filesystem::create_directories(metrics("metrics-2026-11-01.jsonl/inner"));
    std::filesystem::resize_file(today(), 5 * kMiB);
    clock.advance(30s);  // past the cached figures
    saveTen(storage);
    EXPECT_EQ(log.matching("[prune_size]"),
              std::vector<std::string>{
                  "[prune_size] files_deleted=1, reason=exceeded_max_storage_mb, target_mb=0.8"});

    // Only the current file left: it stays, with no entry, and the next check tries again.
    std::filesystem::remove_all(metrics("metrics-2026-11-01.jsonl"));
    clock.advance(30s);
    saveTen(storage);
    EXPECT_EQ(log.matching("exceeds max 1MB").size(), 2u);
    EXPECT_EQ(log.matching("[prune_size]").size(), 1u);
    EXPECT_EQ(remaining(), std::vector<std::string>{"metrics-2026-11-15.jsonl"});
}

// Age is read from the file itself: the clock is set relative to the files' real birth.
TEST_F(Pruning, AgeGoesByTheFileNotItsName) {
    const Date born = std::chrono::system_clock::now();
    sparse("metrics-2001-01-01.jsonl", 10);
    sparse("metrics-2099-01-01.jsonl", 10);
    const MonitorConfig config{.retentionDays = 1};
    for (const auto age : {23h, 25h}) {
        testing::ManualClock later(born + age);
        MetricsStorage storage(config, dir / "data", later, dir / "logs");
        saveTen(storage);
        std::filesystem::remove(
            metrics("metrics-" + Formatters::dailyRotation(later.now()) + ".jsonl"));
        EXPECT_EQ(remaining().size(), age == 23h ? 2u : 0u);
    }
    EXPECT_EQ(log.matching("[prune_age]"),
              std::vector<std::string>{"[prune_age] files_deleted=2, retention_days=1"});

    // A look that found nothing old is not repeated while the folder stays as it was; a file
    // put there since is looked at.
    testing::ManualClock later(born + 25h);
    MetricsStorage storage(config, dir / "data", later, dir / "logs");
    saveTen(storage);
    sparse("metrics-2002-02-02.jsonl", 10);
    saveTen(storage);
    EXPECT_EQ(log.matching("[prune_age]").size(), 2u);
}

// An outage of any length cannot fill the disk: the queue and the refused files are held to the
// metric files' limits, oldest first, each dropped file with an audit entry and a warning.
TEST_F(Pruning, UploadQueueAndRefusedFilesStayWithinTheSameLimits) {
    testing::ManualClock later(std::chrono::system_clock::now());
    MetricsStorage storage({.maxStorageMB = 1, .retentionDays = 1, .uploadEnabled = true},
                           dir / "data", later, dir / "logs");
    std::string lines;
    int64_t perFile = 0;
    for (; lines.size() < 400 * 1024; ++perFile)
        lines += testing::line(sample("q", static_cast<int>(perFile)));
    for (const char* name : {"uploading-100.jsonl", "uploading-200.jsonl", "uploading-300.jsonl"})
        dir.write(upload(name), lines);
    ASSERT_FALSE(storage.rejectUploadQueueFile(upload("uploading-200.jsonl")));
    EXPECT_EQ(storage.pendingUploadCount(), 2 * perFile);
    EXPECT_EQ(storage.rejectedUploadCount(), perFile);

    saveTen(storage);  // 1.2 MiB in all: the oldest file goes
    EXPECT_EQ(log.matching("[prune_upload_queue]"),
              std::vector<std::string>{fmt::format("[prune_upload_queue] file=uploading-100.jsonl, "
                                                   "records_dropped={}, "
                                                   "reason=exceeded_max_storage_mb",
                                                   perFile)});
    EXPECT_EQ(log.matching("Upload queue beyond its limits: dropped uploading-100.jsonl").size(),
              1u);
    EXPECT_EQ(storage.pendingUploadCount(), perFile + 10);

    // Past the retention the rest goes, refused files included; the pending file stays.
    later.advance(25h);
    saveTen(storage);
    EXPECT_EQ(log.matching("reason=exceeded_retention_days").size(), 2u);
    EXPECT_EQ(storage.pendingUploadCount(), 20);
    EXPECT_EQ(storage.rejectedUploadCount(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(dir / "data/upload/rejected"));
}

TEST_F(Pruning, ClearAllRemovesMetricFilesAndQueueAndStartsAfresh) {
    auto storage = make({.uploadEnabled = true});
    storage.clearAll();
    EXPECT_EQ(log.matching("[clear"), std::vector<std::string>{"[clear_all] files_deleted=0"});

    ASSERT_TRUE(storage.save(sample("a", 1)));
    sparse("metrics-2026-11-01.jsonl", 100);
    EXPECT_EQ(storage.getHealth().totalFilesCount, 2);
    storage.clearAll();
    EXPECT_EQ(log.matching("[clear_upload_queue] files_deleted=1").size(), 1u);
    EXPECT_EQ(log.matching("[clear_all] files_deleted=2").size(), 1u);
    EXPECT_TRUE(remaining().empty());
    EXPECT_TRUE(std::filesystem::is_empty(dir / "data/upload"));
    EXPECT_EQ(storage.getHealth().totalFilesCount, 0);  // not the cached figure

    ASSERT_TRUE(storage.save(sample("a", 2)));
    EXPECT_EQ(testing::linesOf(today()).size(), 1u);
}

}  // namespace
}  // namespace ostrel
