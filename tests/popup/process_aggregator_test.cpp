#include "popup/process_aggregator.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace ostrel {
namespace {

using Pids = std::vector<int64_t>;

// Names every pid "proc-<pid>" and counts the look-ups.
struct CountingNames : ProcessNameSource {
    explicit CountingNames(int& lookups) : lookups_(lookups) {}
    std::optional<std::string> processName(int64_t pid) override {
        ++lookups_;
        return "proc-" + std::to_string(pid);
    }
    int& lookups_;
};

ProcessMetricInfo process(int64_t pid, std::optional<int64_t> ppid, std::string name,
                          std::optional<double> cpu, std::optional<double> memory = {},
                          std::optional<std::string> user = {}) {
    return {.pid = pid,
            .ppid = ppid,
            .name = std::move(name),
            .cpuPercent = cpu,
            .memoryMB = memory,
            .user = std::move(user)};
}

class ProcessAggregatorTest : public ::testing::Test {
  protected:
    ProcessAggregatorTest() {
        // A parent outside the lists, and one whose name the kernel cut at 15 characters.
        proc.write("900/comm", "slack\n");
        proc.write("901/comm", "gnome-shell-cal\n");
        proc.write("901/cmdline", std::string("/usr/libexec/gnome-shell-calendar-server\0", 41));
    }

    testing::TempDir proc;
    ProcessAggregator aggregator{makeProcessNameSource(proc.path())};
};

TEST_F(ProcessAggregatorTest, GroupsUnderRootsInTheListAndParentsOutsideIt) {
    EXPECT_TRUE(aggregator.aggregate({}, ProcessValueType::cpu).empty());

    const auto rows = aggregator.aggregate(
        {
            process(10, 1, "Xorg", 2.0, 100),
            process(20, 10, "xterm", 0.54, 20),
            process(30, 900, "slack-helper", 3.0, 50),
            process(31, 900, "Slack Renderer", std::nullopt, 70.06),
            process(40, 777, "orphan Helper", 0.0),  // parent 777 is gone: named by its members
            process(50, 901, "calendar", 0.5),
        },
        ProcessValueType::cpu);
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(rows[0].baseName, "Slack");  // the parent's name, read from /proc/900/comm
    EXPECT_EQ(rows[0].pids, (Pids{30, 31}));
    EXPECT_EQ(rows[0].totalCPU, 3.0);
    EXPECT_EQ(rows[0].totalMemory, 120.1);
    EXPECT_EQ(rows[1].baseName, "Xorg");  // the root of its chain in the list
    EXPECT_EQ(rows[1].processCount, 2);
    EXPECT_EQ(rows[1].totalCPU, 2.5);
    EXPECT_EQ(rows[2].baseName, "Gnome-shell-calendar-server");
    EXPECT_EQ(rows[3].baseName, "Orphan");
    // No CPU at all: the figure is absent, the row stays.
    EXPECT_EQ(rows[3].totalCPU, std::nullopt);
    EXPECT_NE(rows[0].id, rows[1].id);

    // Ranked by memory, the same groups come in another order.
    const auto byMemory = aggregator.aggregate(
        {process(10, 1, "a", 9.0, 10), process(11, 1, "b", 1.0, 30)}, ProcessValueType::memory);
    EXPECT_EQ(byMemory[0].baseName, "b");
}

TEST_F(ProcessAggregatorTest, ALoopEndsTheWalkAndThePreferredUserComesFirst) {
    std::unordered_set<int64_t> visited;
    const auto a = process(5, 6, "a", 1.0);
    const auto b = process(6, 5, "b", 1.0);
    const ProcessAggregator::ProcessesByPid byPid{{5, &a}, {6, &b}};
    const auto key = ProcessAggregator::findGroupKey(a, byPid, visited);
    EXPECT_EQ(key.key, 5);
    EXPECT_EQ(key.parentPid, std::nullopt);

    const auto rows = aggregator.aggregate(
        {process(9, 900, "s", 1.0, {}, "root"), process(7, 900, "s", 1.0, {}, "ann"),
         process(3, 900, "s", 1.0, {}, "root")},
        ProcessValueType::cpu, "root");
    EXPECT_EQ(rows[0].pids, (Pids{3, 9, 7}));
}

TEST(ProcessAggregatorNames, MostCommonNameAndApplicationName) {
    EXPECT_EQ(ProcessAggregator::mostCommonName({}), "Unknown");
    EXPECT_EQ(ProcessAggregator::mostCommonName({"aa", "b"}), "b");
    EXPECT_EQ(ProcessAggregator::mostCommonName({"a", "b", "b"}), "b");
    EXPECT_EQ(
        ProcessAggregator::extractAppName("/Applications/Foo.app/Contents/Frameworks/Bar.app/Bar"),
        "Foo");
    EXPECT_EQ(ProcessAggregator::extractAppName("Google Chrome Helper"), "Google Chrome");
}

TEST(ProcessAggregatorCache, NamesAreLookedUpOnceAndTheFullCacheEmptiesAtOnce) {
    int lookups = 0;
    ProcessAggregator aggregator(std::make_unique<CountingNames>(lookups));
    EXPECT_EQ(aggregator.getParentProcessName(2), "Proc-2");
    EXPECT_EQ(aggregator.getParentProcessName(2), "Proc-2");
    EXPECT_EQ(lookups, 1);
    for (int64_t pid = 3; pid <= 501; ++pid)
        aggregator.getParentProcessName(pid);
    EXPECT_EQ(aggregator.cachedNameCount(), ProcessAggregator::kParentNameCacheLimit);
    aggregator.getParentProcessName(502);
    EXPECT_EQ(aggregator.cachedNameCount(), 1u);
}

}  // namespace
}  // namespace ostrel
