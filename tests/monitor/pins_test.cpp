#include "monitor_fixture.h"

namespace ostrel::testing {
namespace {

using PinsTest = MonitorFixture;

std::vector<std::string> patternsOf(const std::vector<WatchedProcessMetrics>& watched) {
    std::vector<std::string> patterns;
    for (const auto& entry : watched)
        patterns.push_back(entry.pattern);
    return patterns;
}

TEST_F(PinsTest, PinsAreTrimmedUniqueIgnoringCaseAtMostFiveAndKeptInPreferences) {
    preferences->set("pinnedProcesses", std::vector<std::string>{"Safari"});
    build();
    EXPECT_EQ(monitor->pinnedProcesses.get(), std::vector<std::string>{"Safari"});
    EXPECT_FALSE(monitor->pinProcess("SAFARI"));
    EXPECT_FALSE(monitor->pinProcess(" \t "));
    EXPECT_TRUE(monitor->pinProcess("  chrome\t"));
    for (const char* name : {"a", "b", "c"})
        EXPECT_TRUE(monitor->pinProcess(name));
    EXPECT_FALSE(monitor->pinProcess("sixth"));
    const std::vector<std::string> five{"Safari", "chrome", "a", "b", "c"};
    EXPECT_EQ(monitor->pinnedProcesses.get(), five);
    EXPECT_EQ(preferences->stringArray("pinnedProcesses"), five);
    EXPECT_EQ(audits("process_pinned").front(), "[process_pinned] pattern=chrome");

    monitor->unpinProcess("SAFARI");
    EXPECT_FALSE(monitor->isPinned("safari"));
    EXPECT_EQ(audits("process_unpinned"),
              std::vector<std::string>{"[process_unpinned] pattern=SAFARI"});
    EXPECT_EQ(preferences->stringArray("pinnedProcesses")->size(), 4u);
}

TEST_F(PinsTest, PinsMatchByPrefixIgnoringCaseWatchedNamesExactlyAndOnlyPresentOnesAreStored) {
    processes->processes = {{.pid = 10, .name = "Chrome Helper", .user = "ana"},
                            {.pid = 11, .name = "chrome", .user = "ana"},
                            {.pid = 12, .name = "Safari", .user = "ana"}};
    build();
    MonitorConfig config;
    config.watchedProcesses = {"chrome", "Chrome", "absent"};
    monitor->configure(config);
    EXPECT_TRUE(monitor->pinProcess("chr"));
    dispatcher.runUntilIdle();  // the new row shows before the next sample
    ASSERT_EQ(monitor->watchedMetrics->size(), 4u);
    EXPECT_EQ(monitor->watchedMetrics.get()[0].processCount, 2) << "chrome and Chrome Helper";

    monitor->start();
    dispatcher.runUntilIdle();
    const auto& watched = monitor->watchedMetrics.get();
    EXPECT_EQ(patternsOf(watched), (std::vector<std::string>{"chr", "chrome", "Chrome", "absent"}));
    EXPECT_EQ(watched[1].processCount, 1);
    EXPECT_EQ(watched[2].processCount, 0);
    const auto events = stored().watched;
    ASSERT_EQ(events.size(), 2u) << "names without a process write nothing";
    EXPECT_EQ(events[0].watched.pattern, "chr");
    EXPECT_EQ(events[0].hostname, "test-host");

    monitor->clearPinnedProcesses();
    EXPECT_EQ(patternsOf(monitor->watchedMetrics.get()),
              (std::vector<std::string>{"chrome", "Chrome", "absent"}))
        << "clearing keeps the watched rows";
    monitor->unpinProcess("CHROME");
    EXPECT_EQ(patternsOf(monitor->watchedMetrics.get()), std::vector<std::string>{"absent"})
        << "unpinning drops rows of the same name until the next sample";
}

}  // namespace
}  // namespace ostrel::testing
