#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <limits>

#include "storage_test_support.h"
#include "support/log_recorder.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using testing::linesOf;
using testing::sample;

// Descriptors of this process open on `file`.
std::vector<int> handlesOn(const std::filesystem::path& file) {
    std::vector<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry.path(), error) == file) {
            found.push_back(std::stoi(entry.path().filename().string()));
        }
    }
    return found;
}

class StorageWrite : public ::testing::Test, public testing::StoreFixture {
  protected:
    testing::LogRecorder log;
};

TEST_F(StorageWrite, ThreeKindsGoToOneFileAndTheQueueInOrder) {
    auto storage = make({.uploadEnabled = true});
    const AlertEvent alert = testing::alert("a", 2, clock.now());
    ASSERT_TRUE(storage.save(sample("a", 1)));
    ASSERT_TRUE(storage.saveAlertEvent(alert));
    ASSERT_TRUE(storage.saveWatchedProcessEvent({.pattern = "sshd"}, "host-w"));

    const auto lines = linesOf(today());
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(decodeJson<SystemMetrics>(lines[0]), sample("a", 1));
    EXPECT_EQ(decodeJson<AlertEvent>(lines[1]), alert);
    EXPECT_EQ(decodeJson<WatchedProcessEvent>(lines[2]),
              (WatchedProcessEvent{.timestamp = "2026-11-15T10:59:58.000Z",
                                   .hostname = "host-w",
                                   .watched = {.pattern = "sshd"}}));
    EXPECT_EQ(testing::readFile(upload("pending.jsonl")), testing::readFile(today()));

    storage.logAudit("monitor_stop");  // no details: no trailing blank
    EXPECT_EQ(log.entries().back().message, "[monitor_stop]");
}

TEST_F(StorageWrite, HandleFollowsRotationAndChangesFromOutside) {
    const MonitorConfig hourly{.rotationPolicy = "hourly"};
    auto storage = make(hourly);
    ASSERT_TRUE(storage.save(sample("a", 1)));
    const auto ten = metrics("metrics-2026-11-15-10.jsonl");
    const auto eleven = metrics("metrics-2026-11-15-11.jsonl");
    EXPECT_EQ(handlesOn(ten).size(), 1u);
    clock.advance(3s);
    ASSERT_TRUE(storage.save(sample("a", 2)));
    EXPECT_EQ(linesOf(ten).size(), 1u);
    EXPECT_EQ(linesOf(eleven).size(), 1u);
    EXPECT_TRUE(handlesOn(ten).empty());

    // Deleted from outside: the next line makes the file again.
    std::filesystem::remove(eleven);
    ASSERT_TRUE(storage.save(sample("a", 3)));
    // Replaced from outside: the old handle must not swallow the line.
    std::filesystem::copy_file(eleven, dir / "copy");
    std::filesystem::rename(dir / "copy", eleven);
    ASSERT_TRUE(storage.save(sample("a", 4)));
    // A handle that fails on write (its descriptor now read-only) costs one retry, no line.
    const auto kept = handlesOn(eleven);
    ASSERT_EQ(kept.size(), 1u);
    const int readOnly = ::open(eleven.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(::dup2(readOnly, kept[0]), 0);
    ::close(readOnly);
    ASSERT_TRUE(storage.save(sample("a", 5)));
    // After close, and in a new store, the same file goes on.
    storage.close();
    ASSERT_TRUE(storage.save(sample("a", 6)));
    ASSERT_TRUE(make(hourly).save(sample("a", 7)));
    EXPECT_EQ(testing::hosts(*MetricsStorage::loadMetricsFromFile(eleven)),
              (std::vector<std::string>{"a-3", "a-4", "a-5", "a-6", "a-7"}));
    // A folder on the way renamed from outside: the next line goes to a new file at the name.
    ASSERT_TRUE(storage.save(sample("a", 8)));
    std::filesystem::rename(dir / "data", dir / "moved");
    ASSERT_TRUE(storage.save(sample("a", 9)));
    EXPECT_EQ(testing::hosts(*MetricsStorage::loadMetricsFromFile(eleven)),
              (std::vector<std::string>{"a-9"}));
    EXPECT_EQ(linesOf(dir / "moved/metrics" / eleven.filename()).size(), 6u);
}

// Samples skipped while storage is off, failed samples and events do not count.
TEST_F(StorageWrite, PruneCheckRunsOnEveryTenthSavedSample) {
    // Over the limit with only the current file, which stays: every check announces itself.
    MonitorConfig config{.maxStorageMB = 1, .uploadEnabled = true};
    auto storage = make(config);
    const auto checks = [&] { return log.matching("exceeds max 1MB, pruning").size(); };
    const auto saveSamples = [&](const char* writer, int count) {
        for (int i = 0; i < count; ++i)
            ASSERT_TRUE(storage.save(sample(writer, i)));
    };
    saveSamples("a", 5);
    config.storageEnabled = false;
    storage.updateConfig(config);
    saveSamples("off", 10);
    EXPECT_TRUE(storage.saveAlertEvent(testing::alert("off", 0, clock.now())));
    // Off: nothing written anywhere, and no error.
    EXPECT_EQ(linesOf(today()).size(), 5u);
    EXPECT_EQ(linesOf(upload("pending.jsonl")).size(), 5u);
    config.storageEnabled = true;
    storage.updateConfig(config);
    std::filesystem::resize_file(today(), 2 * 1024 * 1024);
    SystemMetrics broken = sample("nan", 0);
    broken.cpu->loadPercent = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(storage.save(broken).error().kind, StorageError::Kind::encodingFailed);
    for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(storage.saveAlertEvent(testing::alert("e", i, clock.now())));
    saveSamples("a", 4);
    EXPECT_EQ(checks(), 0u);
    saveSamples("a", 1);
    EXPECT_EQ(checks(), 1u);
    saveSamples("a", 10);
    EXPECT_EQ(checks(), 2u);
}

// After a crash mid-write the next line must not be glued onto the torn one. Files and the
// folders the store makes are its owner's alone: they name processes, users and hosts.
TEST_F(StorageWrite, TornLastLineIsEndedBeforeTheNextAppendAndFilesArePrivate) {
    dir.write(today(), testing::line(sample("a", 1)) + R"({"timestamp":"2026-11)");
    dir.write(upload("pending.jsonl"), R"({"torn)");
    auto storage = make({.uploadEnabled = true});
    ASSERT_TRUE(storage.save(sample("a", 2)));
    EXPECT_EQ(testing::hosts(*MetricsStorage::loadMetricsFromFile(today())),
              (std::vector<std::string>{"a-1", "a-2"}));
    const std::string second = testing::line(sample("a", 2));
    EXPECT_EQ(testing::readFile(upload("pending.jsonl")), "{\"torn\n" + second);

    namespace fs = std::filesystem;
    const auto mode = [](const fs::path& path) { return fs::status(path).permissions(); };
    EXPECT_EQ(mode(today()), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(mode(upload("pending.jsonl")), fs::perms::owner_read | fs::perms::owner_write);
    // Folders made now, and folders an earlier version left readable by all.
    MetricsStorage fresh(MonitorConfig{}, dir / "fresh/data", clock, dir / "fresh/logs");
    for (const char* folder : {"fresh", "fresh/data", "fresh/data/metrics", "fresh/logs", "data",
                               "data/metrics", "data/upload", "logs"})
        EXPECT_EQ(mode(dir / folder), fs::perms::owner_all) << folder;
}

// One queue file is one request: the pending file joins the queue once it passes 1 MiB, and
// the count of waiting records is kept without reading the queue again.
TEST_F(StorageWrite, PendingFileJoinsTheQueueAtOneMebibyteAndTheCountIsKept) {
    auto storage = make({.uploadEnabled = true});
    SystemMetrics big = sample("a", 0);
    big.hostname = std::string(4000, 'h');
    const uint64_t lineBytes = testing::line(big).size();
    const int saves = static_cast<int>(2.5 * MetricsStorage::kRollBytes / lineBytes);
    for (int i = 0; i < saves; ++i) {
        clock.advance(1s);
        ASSERT_TRUE(storage.save(big));
    }
    auto queue = storage.swapPendingFileForUpload();
    ASSERT_EQ(queue.size(), 3u);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_GE(std::filesystem::file_size(queue[i]), MetricsStorage::kRollBytes);
        EXPECT_LT(std::filesystem::file_size(queue[i]), MetricsStorage::kRollBytes + lineBytes);
    }
    EXPECT_EQ(storage.pendingUploadCount(), saves);
    EXPECT_EQ(make().pendingUploadCount(), saves) << "a fresh count from the files agrees";

    const int64_t firstLines = static_cast<int64_t>(linesOf(queue[0]).size());
    storage.deleteUploadQueueFile(queue[0]);
    ASSERT_FALSE(storage.rejectUploadQueueFile(queue[1]));
    EXPECT_TRUE(std::filesystem::exists(upload("rejected") / queue[1].filename()));
    EXPECT_EQ(storage.pendingUploadCount(), static_cast<int64_t>(linesOf(queue[2]).size()));
    EXPECT_EQ(storage.rejectedUploadCount(), saves - firstLines - storage.pendingUploadCount());
    storage.clearUploadQueue();
    EXPECT_EQ(storage.pendingUploadCount() + storage.rejectedUploadCount(), 0);
}

TEST_F(StorageWrite, FolderThatCannotBeMadeFailsEachSaveWithTheReason) {
    dir.write("blocked", "a file where the store's folder should be");
    MetricsStorage storage(MonitorConfig{}, dir / "blocked", clock, dir / "logs");
    const auto saved = storage.save(sample("a", 1));
    ASSERT_FALSE(saved);
    EXPECT_EQ(saved.error().description(),
              "Not a directory: " + (dir / "blocked/metrics").string());
    EXPECT_FALSE(storage.saveWatchedProcessEvent({.pattern = "x"}, "h"));
}

// A write that the disk refuses, for real: past a file size limit write() takes a few bytes,
// then fails with EFBIG, so the line is cut half-way and has to be taken back.
TEST_F(StorageWrite, RefusedWriteReachesTheCallerAndHarmsNothingStored) {
    auto storage = make({.uploadEnabled = true});
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(storage.save(sample("a", i)));
    const std::string before = testing::readFile(today());
    rlimit saved{};
    ::getrlimit(RLIMIT_FSIZE, &saved);
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{std::filesystem::file_size(today()) + 10, saved.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const auto refused = storage.save(sample("a", 3));
    ::setrlimit(RLIMIT_FSIZE, &saved);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().description(), "File too large: " + today().string());
    EXPECT_EQ(testing::readFile(today()), before);
    EXPECT_EQ(testing::readFile(upload("pending.jsonl")), before);

    ASSERT_TRUE(storage.save(sample("a", 5)));
    EXPECT_EQ(MetricsStorage::loadMetricsFromFile(today())->size(), 4u);
    EXPECT_EQ(linesOf(today()).size(), 4u);
    EXPECT_EQ(testing::readFile(upload("pending.jsonl")), testing::readFile(today()));
}

TEST_F(StorageWrite, SwapHandsOverLeftoversFirstAndNeverOverwrites) {
    auto storage = make({.uploadEnabled = true});
    dir.write("data/upload/uploading-20.jsonl", "{}\n");
    dir.write("data/upload/uploading-100.jsonl", "{}\n{}");  // last line without a feed
    dir.write("data/upload/notes.jsonl", "{}\n");
    dir.write("data/upload/pending.jsonl", "");
    const std::vector<std::filesystem::path> leftovers{upload("uploading-100.jsonl"),
                                                       upload("uploading-20.jsonl")};
    EXPECT_EQ(storage.swapPendingFileForUpload(), leftovers);  // an empty pending file stays
    EXPECT_EQ(storage.pendingUploadCount(), 2);

    ASSERT_TRUE(storage.save(sample("a", 1)));
    auto queue = storage.swapPendingFileForUpload();
    const auto swapped =
        upload("uploading-" + std::to_string(std::chrono::system_clock::to_time_t(clock.now())) +
               ".jsonl");
    ASSERT_EQ(queue.size(), 3u);
    EXPECT_EQ(queue.back(), swapped);
    // Same second, new line: the name is taken, so the pending file waits, and the earlier
    // file is now a leftover among the others, in name order.
    ASSERT_TRUE(storage.save(sample("a", 2)));
    std::sort(queue.begin(), queue.end());
    EXPECT_EQ(storage.swapPendingFileForUpload(), queue);
    EXPECT_EQ(log.matching("Failed to swap pending file: ").size(), 1u);
    EXPECT_EQ(linesOf(swapped).size(), 1u);
    EXPECT_EQ(storage.pendingUploadCount(), 4);
    clock.advance(1s);
    EXPECT_EQ(storage.swapPendingFileForUpload().size(), 4u);

    storage.deleteUploadQueueFile(swapped);
    storage.deleteUploadQueueFile(swapped);  // gone already: logged all the same
    EXPECT_EQ(log.matching("Deleted upload queue file: " + swapped.filename().string()).size(), 2u);
    storage.clearUploadQueue();
    storage.clearUploadQueue();
    EXPECT_EQ(log.matching("[clear_upload_queue]"),
              std::vector<std::string>{"[clear_upload_queue] files_deleted=4"});
}

}  // namespace
}  // namespace ostrel
