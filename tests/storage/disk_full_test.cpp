// A write that the disk refuses, for real: on a small private tmpfs where this process may
// mount one (root), else past a file size limit, where write() fails with EFBIG.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <csignal>
#include <fstream>

#include "storage_test_support.h"

namespace ostrel {
namespace {

class SmallDisk {
  public:
    explicit SmallDisk(const std::filesystem::path& where) : where_(where) {
        std::filesystem::create_directories(where_);
        // A mount namespace of our own keeps the tmpfs away from the rest of the machine and
        // takes it down with the process, whatever happens to the test.
        mounted_ = ::unshare(CLONE_NEWNS) == 0 &&
                   ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   ::mount("tmpfs", where_.c_str(), "tmpfs", 0, "size=128k") == 0;
        ::getrlimit(RLIMIT_FSIZE, &saved_);
    }
    ~SmallDisk() {
        if (mounted_) ::umount2(where_.c_str(), MNT_DETACH);
        makeRoom();
    }
    bool isTmpfs() const { return mounted_; }

    // Leaves no room beyond the bytes already written to `file`.
    void fill(const std::filesystem::path& file) {
        if (mounted_) {
            std::ofstream filler(where_ / "filler", std::ios::binary);
            const std::string block(4096, 'x');
            while (filler.write(block.data(), block.size())) {
            }
            return;
        }
        ::signal(SIGXFSZ, SIG_IGN);
        // A few bytes of room, so the next line is cut half-way and has to be taken back.
        const rlimit limit{std::filesystem::file_size(file) + 10, saved_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    void makeRoom() {
        if (mounted_) std::filesystem::remove(where_ / "filler");
        ::setrlimit(RLIMIT_FSIZE, &saved_);
    }

  private:
    std::filesystem::path where_;
    bool mounted_ = false;
    rlimit saved_{};
};

class DiskFull : public ::testing::Test, public testing::StoreFixture {};

TEST_F(DiskFull, FailedWriteReachesTheCallerAndHarmsNothingStored) {
    SmallDisk disk(dir / "disk");
    RecordProperty("medium", disk.isTmpfs() ? "tmpfs" : "RLIMIT_FSIZE");
    MetricsStorage storage(testing::withUpload(), dir / "disk/data", clock, dir / "logs");
    // Long lines, so that a refused one needs a block of its own on the tmpfs.
    const auto big = [](int i) {
        SystemMetrics m = testing::sample("a", i);
        m.hostname += std::string(3000, 'h');
        return m;
    };
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(storage.save(big(i)));
    const auto file = dir / "disk/data/metrics/metrics-2026-11-15.jsonl";
    const auto pending = dir / "disk/data/upload/pending.jsonl";
    const std::string before = testing::readFile(file);

    disk.fill(file);
    const auto refused = storage.save(big(3));
    ASSERT_FALSE(refused);
    const std::string reason = disk.isTmpfs() ? "No space left on device" : "File too large";
    EXPECT_EQ(refused.error().description(), reason + ": " + file.string());
    // Compared without printing: the lines are long.
    EXPECT_TRUE(testing::readFile(file) == before);
    EXPECT_TRUE(testing::readFile(pending) == before);

    disk.makeRoom();
    ASSERT_TRUE(storage.save(big(5)));
    EXPECT_EQ(MetricsStorage::loadMetricsFromFile(file)->size(), 4u);
    EXPECT_EQ(testing::linesOf(file).size(), 4u);
    EXPECT_TRUE(testing::readFile(pending) == testing::readFile(file));
}

}  // namespace
}  // namespace ostrel
