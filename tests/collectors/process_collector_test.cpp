#include "collectors/process_collector.h"

#include <gtest/gtest.h>

#include "support/log_recorder.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::VirtualDispatcher;

constexpr int32_t kOwnPid = 4242;

ProcessReading measured(int32_t pid, std::string name, double cpu, double megabytes,
                        int32_t ppid = 1) {
    return {.pid = pid,
            .ppid = ppid,
            .name = std::move(name),
            .user = "alice",
            .residentBytes = static_cast<uint64_t>(megabytes * 1048576),
            .cpuPercent = cpu};
}

// Invented readings, handed out in turn; an error stands for a source that failed.
template <class Reading>
struct Scripted {
    std::vector<tl::expected<Reading, ReadError>> answers;
    size_t calls = 0;
    tl::expected<Reading, ReadError> next() {
        const size_t index = std::min(calls++, answers.size() - 1);
        return answers[index];
    }
};

struct FakeProcesses : ProcessSource, Scripted<ProcessTable> {
    FakeProcesses() { answers = {ProcessTable{}}; }
    tl::expected<ProcessTable, ReadError> listProcesses() override { return next(); }
};
struct FakeMemory : ProcessMemorySource, Scripted<std::unordered_map<int32_t, double>> {
    std::vector<std::vector<int32_t>> candidates;
    bool anyToRead = true;
    bool needsRead(const std::vector<MemoryCandidate>&) override { return anyToRead; }
    tl::expected<std::unordered_map<int32_t, double>, ReadError> refinedMemoryMB(
        const std::vector<MemoryCandidate>& given) override {
        std::vector<int32_t> pids;
        for (const MemoryCandidate& candidate : given)
            pids.push_back(candidate.pid);
        candidates.push_back(std::move(pids));
        return next();
    }
};
struct FakeDisk : ProcessDiskSource, Scripted<std::vector<ProcessDiskCounters>> {
    std::vector<std::vector<int32_t>> listings;
    tl::expected<std::vector<ProcessDiskCounters>, ReadError> readDiskCounters(
        const std::vector<int32_t>& pids) override {
        listings.push_back(pids);
        return next();
    }
};
struct FakeNetwork : ProcessNetworkSource, Scripted<std::vector<ProcessNetworkCounters>> {
    tl::expected<std::vector<ProcessNetworkCounters>, ReadError> readNetworkCounters(
        const std::vector<int32_t>&) override {
        return next();
    }
};

struct Fixture {
    VirtualDispatcher dispatcher;
    std::shared_ptr<FakeProcesses> processes = std::make_shared<FakeProcesses>();
    std::shared_ptr<FakeMemory> memory = std::make_shared<FakeMemory>();
    std::shared_ptr<FakeDisk> disk = std::make_shared<FakeDisk>();
    std::shared_ptr<FakeNetwork> network = std::make_shared<FakeNetwork>();

    std::unique_ptr<ProcessCollector> make(bool withMemory = false) {
        return std::make_unique<ProcessCollector>(
            ProcessSources{processes, withMemory ? memory : nullptr, disk, network, kOwnPid},
            dispatcher);
    }
    void list(std::vector<ProcessReading> readings) {
        processes->answers = {ProcessTable{seconds(100), std::move(readings)}};
    }
};

std::vector<int64_t> pidsOf(const std::vector<ProcessMetricInfo>& infos) {
    std::vector<int64_t> pids;
    for (const auto& info : infos)
        pids.push_back(info.pid);
    return pids;
}

TEST(ProcessCollector, TopListsRankStablyCarryOnlyTheirFigureAndDropOwnToolChildren) {
    Fixture f;
    std::vector<ProcessReading> readings = {
        measured(10, "a", 5.0, 100),     measured(11, "evil\nname\xff", 7.25, 50),
        measured(12, "c", 5.0, 300),     measured(13, "ps", 99, 1, kOwnPid),
        measured(14, "top", 1.0, 1, 77), measured(15, "d", 0.05, 0.05),
    };
    for (int i = 0; i < 25; ++i)
        readings.push_back(measured(100 + i, "idle", 0, 0.01));
    f.list(readings);
    auto collector = f.make();

    const ProcessMetrics metrics = collector->collect();
    EXPECT_EQ(metrics.processCount, 30);
    ASSERT_EQ(metrics.topCPU->size(), 20u);
    EXPECT_EQ(pidsOf(*metrics.topCPU),
              (std::vector<int64_t>{11,  10,  12,  14,  15,  100, 101, 102, 103, 104,
                                    105, 106, 107, 108, 109, 110, 111, 112, 113, 114}));
    EXPECT_EQ(metrics.topCPU->front().cpuPercent, 7.3);  // 7.25 rounds half away from zero
    EXPECT_FALSE(metrics.topCPU->front().memoryMB);
    EXPECT_EQ(metrics.topCPU->front().user, "alice");
    // Names lose line breaks, and invalid UTF-8 turns into replacement characters.
    EXPECT_EQ(metrics.topCPU->front().name, "evilname\xEF\xBF\xBD");
    EXPECT_EQ(pidsOf(*metrics.topMemory).front(), 12);
    EXPECT_EQ(metrics.topMemory->front().memoryMB, 300);
    EXPECT_FALSE(metrics.topMemory->front().cpuPercent);
    EXPECT_FALSE(metrics.topNetwork);
    EXPECT_FALSE(metrics.topDisk);
}

TEST(ProcessCollector, FailedListReadsAsEmptyAndLogsOncePerFailure) {
    Fixture f;
    f.processes->answers = {tl::unexpected(ReadError::notFound),
                            tl::unexpected(ReadError::notFound),
                            ProcessTable{seconds(1), {measured(1, "init", 0, 1)}},
                            tl::unexpected(ReadError::permission)};
    auto collector = f.make();
    testing::LogRecorder log;
    const ProcessMetrics empty{.topCPU = std::vector<ProcessMetricInfo>{},
                               .topMemory = std::vector<ProcessMetricInfo>{},
                               .processCount = 0};

    EXPECT_EQ(collector->collect(), empty);
    EXPECT_EQ(collector->collect(), empty);
    EXPECT_EQ(collector->collect().processCount, 1);
    EXPECT_EQ(collector->collect(), empty);
    const auto warnings = log.matching("Process list unavailable");
    ASSERT_EQ(warnings.size(), 2u);
    EXPECT_EQ(warnings[1], "Process list unavailable: permission denied");
}

// Kernel counters: cumulative CPU time and start time since boot, scan times since boot.
ProcessReading counted(int32_t pid, double cpuSeconds, double startSeconds) {
    return {
        .pid = pid,
        .name = "p",
        .cpuTime = std::chrono::duration_cast<Duration>(std::chrono::duration<double>(cpuSeconds)),
        .startTime =
            std::chrono::duration_cast<Duration>(std::chrono::duration<double>(startSeconds))};
}
ProcessTable scanAt(double sinceBoot, std::vector<ProcessReading> readings) {
    return {std::chrono::duration_cast<Duration>(std::chrono::duration<double>(sinceBoot)),
            std::move(readings)};
}

TEST(ProcessCpuFromCounters, EveryProcessOverTheSameWindowNewOnesSinceTheirStart) {
    Fixture f;
    f.processes->answers = {
        // The baseline: no window yet, no figures.
        scanAt(100, {counted(1, 5, 80), counted(2, 0, 90)}),
        // 2 s on 2 processors: pid 1 used 1.5 s, pid 3 started at 101 and used 0.5 s of the
        // window (25 %, not the 50 % of its age), pid 4 started in the tick of this scan.
        scanAt(102, {counted(1, 6.5, 80), counted(2, 0.25, 90), counted(3, 0.5, 101),
                     counted(4, 0, 102)}),
        // 100 ms later: too short a window; the last figures stand, the baseline stays.
        scanAt(102.1, {counted(1, 6.6, 80), counted(3, 0.6, 101), counted(5, 0.05, 102)}),
        // pid 1 now belongs to a process started at 103, pid 5 started in the tick of the
        // last real scan, unseen by it; pid 6 ran unseen before the window.
        scanAt(104, {counted(1, 0.25, 103), counted(3, 1.5, 101), counted(5, 0.5, 102),
                     counted(6, 9, 50)}),
    };
    auto collector = f.make();
    const auto cpuOf = [&] {
        std::vector<double> figures;
        double sum = 0;
        for (const auto& entry : collector->collectProcessInfo()) {
            figures.push_back(entry.cpuPercent);
            sum += entry.cpuPercent;
        }
        EXPECT_LE(sum, 200 + 0.05 * static_cast<double>(figures.size()));  // 2 processors
        return figures;
    };
    EXPECT_EQ(cpuOf(), (std::vector<double>{0, 0}));
    EXPECT_EQ(cpuOf(), (std::vector<double>{75, 12.5, 25, 0}));
    EXPECT_EQ(cpuOf(), (std::vector<double>{75, 25, 0}));
    EXPECT_EQ(cpuOf(), (std::vector<double>{12.5, 50, 25, 0}));
}

TEST(ProcessMemoryRefinement, SamplesHandOverTheirLargestAndRefineAtMostOncePerInterval) {
    Fixture f;
    f.list({measured(1, "small", 0, 10), measured(2, "big", 0, 500), measured(3, "mid", 0, 100),
            measured(4, "kthreadd", 0, 0)});
    f.memory->answers = {std::unordered_map<int32_t, double>{{2, 321.04}}};
    auto collector = f.make(true);
    f.dispatcher.advance(seconds(10));
    EXPECT_TRUE(f.memory->candidates.empty());  // no sample, no refinement

    // Before the first refinement, resident sizes hold. A kernel thread has no memory to refine.
    EXPECT_EQ(collector->collect().topMemory->front().memoryMB, 500);
    f.dispatcher.runUntilIdle();
    ASSERT_EQ(f.memory->candidates.size(), 1u);
    EXPECT_EQ(f.memory->candidates[0], (std::vector<int32_t>{2, 3, 1}));
    const std::vector<ProcessMetricInfo> refined = collector->collect().topMemory.value();
    EXPECT_EQ(refined[0].memoryMB, 321.0);
    EXPECT_EQ(refined[1].memoryMB, 100);
    f.dispatcher.runUntilIdle();
    EXPECT_EQ(f.memory->candidates.size(), 1u);  // within the interval

    collector->setMemoryUpdateInterval(0);  // at least one second
    f.dispatcher.advance(milliseconds(1000));
    collector->collect();
    f.dispatcher.runUntilIdle();
    EXPECT_EQ(f.memory->candidates.size(), 2u);

    // Nothing to read again for the same processes: no refinement, the figures stand. Another
    // process among the largest is refined although no figure needs reading.
    f.memory->anyToRead = false;
    f.dispatcher.advance(seconds(1));
    EXPECT_EQ(collector->collect().topMemory->front().memoryMB, 321.0);
    f.dispatcher.runUntilIdle();
    EXPECT_EQ(f.memory->candidates.size(), 2u);
    f.list({measured(2, "big", 0, 500), measured(5, "new", 0, 50)});
    f.dispatcher.advance(seconds(1));
    collector->collect();
    f.dispatcher.runUntilIdle();
    EXPECT_EQ(f.memory->candidates.size(), 3u);
    f.memory->anyToRead = true;

    // A failed refinement empties the cache: resident sizes again.
    f.memory->answers = {tl::unexpected(ReadError::permission)};
    f.dispatcher.advance(seconds(1));
    collector->collect();
    f.dispatcher.runUntilIdle();
    EXPECT_EQ(collector->collect().topMemory->front().memoryMB, 500);
    EXPECT_EQ(f.dispatcher.activeTimers(), 0u);
}

ProcessDiskCounters io(int32_t pid, uint64_t read, uint64_t written) {
    return {pid, "p" + std::to_string(pid), read, written};
}

TEST(ProcessDiskStats, RatesOverMeasuredTimeAfterABaselineSkippingShortWindowsAndResets) {
    Fixture f;
    f.disk->answers = {
        std::vector{io(1, 1000, 0), io(2, 500, 500)},
        std::vector{io(1, 2000, 0), io(2, 500, 500)},                 // 0.05 s later
        std::vector{io(1, 3000, 50), io(2, 400, 700), io(3, 9, 9)},   // 2 s later
        std::vector{io(1, 3000, 50), io(2, 700, 900), io(3, 9, 10)},  // 2 s later
    };
    auto collector = f.make();
    auto& clock = f.dispatcher.virtualClock();

    EXPECT_TRUE(collector->collectDiskStats(5).empty());  // baseline only
    clock.advance(milliseconds(50));
    EXPECT_TRUE(collector->collectDiskStats(5).empty());  // window too short, baseline moved
    clock.advance(seconds(2));
    // Against the second reading: pid 2 went backwards (a reused pid), pid 3 is new.
    EXPECT_EQ(collector->collectDiskStats(5), (std::vector<ProcessDiskInfo>{{1, "p1", 500, 25}}));
    clock.advance(seconds(2));
    const auto all = collector->collectDiskStats(10);
    EXPECT_EQ(all, (std::vector<ProcessDiskInfo>{{2, "p2", 150, 100}, {3, "p3", 0, 0.5}}));
    EXPECT_EQ(collector->collectDiskStats(1).size(), 0u);  // same reading again, no change
    EXPECT_EQ(collector->aggregateDiskForPids({2, 3, 99}), std::make_pair(150.0, 100.5));
}

TEST(ProcessDiskStats, ReadTheProcessesOfTheSamplesOwnListing) {
    Fixture f;
    f.list({measured(1, "a", 0, 1), measured(2, "b", 0, 1)});
    f.disk->answers = {std::vector<ProcessDiskCounters>{}};
    auto collector = f.make();
    collector->collectDiskStats(5);  // no sample has listed yet: it lists once
    collector->collect();
    collector->collectDiskStats(5);
    EXPECT_EQ(f.processes->calls, 2u);
    // A process started after the listing is read with the next one.
    f.list({measured(1, "a", 0, 1), measured(2, "b", 0, 1), measured(7, "new", 0, 1)});
    collector->collectDiskStats(5);
    collector->collect();
    collector->collectDiskStats(5);
    EXPECT_EQ(f.disk->listings,
              (std::vector<std::vector<int32_t>>{{1, 2}, {1, 2}, {1, 2}, {1, 2, 7}}));
}

TEST(ProcessNetworkStats, RanksByTotalKeepsLastResultWhenSourceFails) {
    Fixture f;
    f.network->answers = {
        std::vector<ProcessNetworkCounters>{
            {1, "idle", 0, 0}, {2, "a", 100, 200}, {3, "b", 1000, 0}, {4, "c", UINT64_MAX, 1}},
        tl::unexpected(ReadError::unsupported)};
    auto collector = f.make();
    testing::LogRecorder log;

    const auto top = collector->collectNetworkStats(2);
    EXPECT_EQ(top, (std::vector<ProcessNetworkInfo>{{4, "c", UINT64_MAX, 1}, {3, "b", 1000, 0}}));
    EXPECT_EQ(collector->collectNetworkStats(99).size(), 0u);
    EXPECT_EQ(log.matching("Per-process network counters unavailable").size(), 1u);
    EXPECT_EQ(collector->aggregateNetworkForPids({2, 3}),
              std::make_pair(uint64_t{1100}, uint64_t{200}));
    EXPECT_EQ(collector->aggregateNetworkForPids({1}), std::make_pair(uint64_t{0}, uint64_t{0}));
}

TEST(ProcessCollector, AbsentSourcesGiveEmptyResults) {
    VirtualDispatcher dispatcher;
    ProcessCollector collector(ProcessSources{}, dispatcher);
    EXPECT_EQ(collector.collect().processCount, 0);
    EXPECT_TRUE(collector.collectNetworkStats(5).empty());
    EXPECT_TRUE(collector.collectDiskStats(5).empty());
    EXPECT_EQ(collector.aggregateDiskForPids({1}), std::make_pair(0.0, 0.0));
    EXPECT_EQ(collector.aggregateByPrefix("x").processCount, 0);
    EXPECT_EQ(dispatcher.activeTimers(), 0u);
}

TEST(WatchedProcesses, PrefixIgnoresCaseExactDoesNotAndSumsAreRounded) {
    Fixture f;
    f.list({measured(1, "Chrome Helper", 1.04, 10), measured(2, "chrome", 2.01, 20),
            measured(3, "Chromium", 0, 1), measured(4, "Safari", 3, 30)});
    f.network->answers = {std::vector<ProcessNetworkCounters>{{1, "Chrome Helper", 10, 20}}};
    auto collector = f.make();
    collector->collect();
    collector->collectNetworkStats(5);

    const auto pinned = collector->aggregateByPrefix("CHROME");
    EXPECT_EQ(pinned.pattern, "CHROME");
    EXPECT_EQ(pinned.processCount, 2);
    EXPECT_EQ(pinned.pids, (std::vector<int64_t>{1, 2}));
    EXPECT_DOUBLE_EQ(pinned.cpuPercent, 3.0);
    EXPECT_DOUBLE_EQ(pinned.memoryMB, 30.0);
    EXPECT_EQ(pinned.networkBytesIn, 10u);

    EXPECT_EQ(collector->aggregateByExactName("chrome").pids, (std::vector<int64_t>{2}));
    const auto none = collector->aggregateByExactName("Chrome");
    EXPECT_EQ(none.processCount, 0);
    EXPECT_TRUE(none.pids.empty());
    EXPECT_EQ(f.processes->calls, 1u);  // watched figures reuse the sample's list
}

TEST(ProcessSearch, GroupsByApplicationRanksByCpuAndHonoursLimit) {
    Fixture f;
    f.list({measured(1, "Google Chrome Helper", 1.06, 10), measured(2, "Google Chrome", 2.02, 20),
            measured(3, "Slack", 5, 1), measured(4, "chromedriver", 0.5, 2)});
    auto collector = f.make();

    const auto grouped = collector->searchProcesses("chrome", 10, true);
    ASSERT_EQ(grouped.size(), 2u);
    EXPECT_EQ(grouped[0], (ProcessSearchResult{"Google Chrome", 3.1, 30, 2}));
    EXPECT_EQ(grouped[1].name, "Chromedriver");
    EXPECT_EQ(collector->searchProcesses("chrome", 1, false).front().name, "Google Chrome");
    EXPECT_TRUE(collector->searchProcesses("", 10, true).empty());
    EXPECT_TRUE(collector->searchProcesses("chrome", 0, true).empty());
    EXPECT_TRUE(collector->searchProcesses("nothing", 10, true).empty());
}

}  // namespace
}  // namespace ostrel
