#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "platform/linux/proc_text.h"
#include "platform/linux/process_io.h"
#include "platform/linux/process_memory.h"
#include "platform/linux/processes.h"
#include "support/temp_dir.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using std::chrono::seconds;

// A stat line with the fields a scan reads: ppid, utime, stime, starttime, rss (pages).
std::string statLine(int pid, const std::string& comm, int ppid, int utime, int stime,
                     int startTicks, int rssPages) {
    return std::to_string(pid) + " (" + comm + ") S " + std::to_string(ppid) +
           " 1 1 0 -1 4194560 100 0 0 0 " + std::to_string(utime) + " " + std::to_string(stime) +
           " 0 0 20 0 1 0 " + std::to_string(startTicks) + " 1000 " + std::to_string(rssPages) +
           " 18446744073709551615 1 1 0 0 0 0 0 0 0 0 0 0 17 0\n";
}

TEST(ProcStatText, NameWithSpacesAndParenthesesAndMalformedLines) {
    const std::string text = statLine(42, "my (odd) name)", 7, 30, 12, 500, 9);
    EXPECT_EQ(procfs::parseProcStat(text), (procfs::ProcStat{.pid = 42,
                                                             .comm = "my (odd) name)",
                                                             .ppid = 7,
                                                             .utime = 30,
                                                             .stime = 12,
                                                             .startTime = 500,
                                                             .rssPages = 9}));

    EXPECT_FALSE(procfs::parseProcStat(""));
    EXPECT_FALSE(procfs::parseProcStat("42 (cut short) S 1 1 1"));
    EXPECT_FALSE(procfs::parseProcStat(statLine(42, "x", 7, 30, 12, 500, -3)));
    EXPECT_FALSE(procfs::parseProcStat("x (a) " + statLine(42, "a", 7, 30, 12, 500, 1).substr(7)));
}

TEST(ProcStatText, FullNameFromTheCommandLineOnlyWhenTheKernelCutItShort) {
    using procfs::fullProcessName;
    EXPECT_EQ(
        fullProcessName("gnome-shell-cal",
                        std::string_view("/usr/libexec/gnome-shell-calendar-server\0--x", 45)),
        "gnome-shell-calendar-server");
    // A rewritten title: arguments and their slashes are not part of the name.
    EXPECT_EQ(fullProcessName("postgres-server", "postgres-server-main: /var/lib/db"),
              "postgres-server-main:");
    EXPECT_EQ(fullProcessName("kworker/u8:0-ev", ""), "kworker/u8:0-ev");
    EXPECT_EQ(fullProcessName("renamed-by-prct", "/usr/bin/python3 app.py"), "renamed-by-prct");
    EXPECT_EQ(fullProcessName("short", "/usr/bin/shortened-longer"), "short");
}

TEST(ProcIoText, StorageCountersSocketLinksAndSocketCounts) {
    EXPECT_EQ(procfs::parseProcIo("rchar: 9\nwchar: 8\nsyscr: 1\nsyscw: 1\nread_bytes: 4096\n"
                                  "write_bytes: 8192\ncancelled_write_bytes: 0\n"),
              (procfs::ProcIo{4096, 8192}));
    // Another order is found by key.
    EXPECT_EQ(procfs::parseProcIo("rchar: 9\nwchar: 8\nread_bytes: 4096\nwrite_bytes: 8192\n"
                                  "cancelled_write_bytes: 0\n"),
              (procfs::ProcIo{4096, 8192}));
    EXPECT_FALSE(procfs::parseProcIo("rchar: 9\nread_bytes: 1\n"));
    EXPECT_FALSE(procfs::parseProcIo("read_bytes: -1\nwrite_bytes: 2\n"));
    EXPECT_FALSE(procfs::parseProcIo("read_bytes: 1\ncancelled_write_bytes: 5\n"));

    EXPECT_EQ(procfs::parsePssKiB("Rss:  2048 kB\nPss:   1536 kB\nPss_Anon: 1 kB\n"), 1536u);
    EXPECT_EQ(procfs::parseSocketInode("socket:[12345]"), 12345u);
    EXPECT_FALSE(procfs::parseSocketInode("pipe:[12345]"));
    EXPECT_FALSE(procfs::parseSocketInode("socket:[]"));
    EXPECT_EQ(procfs::parseTcpSocketsInUse("sockets: used 5\nTCP: inuse 7 orphan 0 tw 3\n"), 7u);
    EXPECT_EQ(procfs::parseTcpSocketsInUse("TCP6: inuse 2\nUDP6: inuse 1\n"), 2u);
}

// A /proc of our own making: pid 10 an ordinary process, pid 11 with a name the kernel cut
// short, pid 12 vanished mid-scan (a directory without files), pid 13 with garbage in stat.
struct FakeProc {
    testing::TempDir dir;
    FakeProc() {
        dir.write("uptime", "1000.50 3000.00\n");
        dir.write("10/stat", statLine(10, "bash", 1, 150, 50, 90000, 256));
        dir.write("11/stat", statLine(11, "gnome-shell-cal", 10, 0, 0, 99000, 1));
        dir.write("11/cmdline", std::string("/usr/libexec/gnome-shell-calendar-server\0", 41));
        std::filesystem::create_directories(dir / "12");
        dir.write("13/stat", "13 (broken");
        dir.write("self/stat", "not a pid");
    }
    LinuxProcessSource source(std::shared_ptr<procfs::ProcessNameCache> names = nullptr) {
        return LinuxProcessSource({.procRoot = dir.path(),
                                   .ticksPerSecond = 100,
                                   .pageSize = 4096,
                                   .userName = [](uid_t) { return std::string("tester"); }},
                                  std::move(names));
    }
};

TEST(LinuxProcessSource, ScansReadableProcessesAndSkipsVanishedAndMalformedOnes) {
    FakeProc proc;
    auto source = proc.source();
    const auto table = source.listProcesses();
    ASSERT_TRUE(table);
    EXPECT_EQ(table->scanTime, seconds(1000) + std::chrono::milliseconds(500));
    ASSERT_EQ(table->processes.size(), 2u);
    EXPECT_EQ(table->processes[0], (ProcessReading{.pid = 10,
                                                   .ppid = 1,
                                                   .name = "bash",
                                                   .user = "tester",
                                                   .residentBytes = 256u * 4096,
                                                   .cpuTime = seconds(2),
                                                   .startTime = seconds(900)}));
    EXPECT_EQ(table->processes[1].name, "gnome-shell-calendar-server");

    // The kept descriptor reads the file afresh each scan.
    proc.dir.write("10/stat", statLine(10, "bash", 1, 250, 50, 90000, 256));
    EXPECT_EQ(source.listProcesses()->processes[0].cpuTime, seconds(3));

    EXPECT_EQ(
        LinuxProcessSource({.procRoot = proc.dir / "absent"}, nullptr).listProcesses().error(),
        ReadError::notFound);
}

TEST(LinuxProcessDiskSource, CountersOfProcessesWithIoNamedFromTheSharedCache) {
    FakeProc proc;
    proc.dir.write("10/io", "read_bytes: 4096\nwrite_bytes: 512\n");
    proc.dir.write("11/io", "read_bytes: 0\nwrite_bytes: 0\n");  // idle: not named
    proc.dir.write("13/io", "garbage");
    auto names = std::make_shared<procfs::ProcessNameCache>();
    LinuxProcessDiskSource disk(proc.dir.path(), names);
    // The sample's listing: 12 and 99 have ended since, 14 started after it.
    proc.dir.write("14/io", "read_bytes: 1\nwrite_bytes: 1\n");
    const auto counters = disk.readDiskCounters({10, 11, 12, 13, 99});
    ASSERT_TRUE(counters);
    EXPECT_EQ(*counters, (std::vector<ProcessDiskCounters>{{10, "bash", 4096, 512}}));

    // No process with readable counters at all: the source is missing, not idle.
    testing::TempDir empty;
    empty.write("5/stat", statLine(5, "x", 1, 0, 0, 1, 1));
    EXPECT_EQ(LinuxProcessDiskSource(empty.path(), names).readDiskCounters({5}).error(),
              ReadError::notFound);
}

// A candidate as the sample's listing read it: start time and resident size in pages.
MemoryCandidate candidate(int32_t pid, int startTicks, int residentPages) {
    return {pid, seconds(startTicks), static_cast<uint64_t>(residentPages) * sysconf(_SC_PAGESIZE)};
}

TEST(LinuxProcessMemorySource, RereadsProportionalSizeOnlyWhenResidentSizeMovedOrAged) {
    FakeProc proc;
    proc.dir.write("10/smaps_rollup", "Rss: 1024 kB\nPss: 512 kB\n");
    testing::VirtualClock clock;
    LinuxProcessMemorySource memory(clock, proc.dir.path());

    // 12 has no figure to give and 99 ended after the listing: both are left out.
    EXPECT_EQ(
        memory
            .refinedMemoryMB({candidate(10, 90000, 256), candidate(12, 1, 9), candidate(99, 1, 9)})
            .value(),
        (std::unordered_map<int32_t, double>{{10, 0.5}}));
    proc.dir.write("10/smaps_rollup", "Pss: 1024 kB\n");
    EXPECT_FALSE(memory.needsRead({candidate(10, 90000, 260), candidate(12, 1, 9)}));
    EXPECT_EQ(memory.refinedMemoryMB({candidate(10, 90000, 260)}).value().at(10), 0.5);  // < 5%
    EXPECT_TRUE(memory.needsRead({candidate(10, 90000, 300)}));
    EXPECT_EQ(memory.refinedMemoryMB({candidate(10, 90000, 300)}).value().at(10), 1.0);
    proc.dir.write("10/smaps_rollup", "Pss: 2048 kB\n");
    clock.advance(seconds(61));
    EXPECT_EQ(memory.refinedMemoryMB({candidate(10, 90000, 300)}).value().at(10), 2.0);
    proc.dir.write("10/smaps_rollup", "Pss: 4096 kB\n");
    EXPECT_EQ(memory.refinedMemoryMB({candidate(10, 95000, 300)}).value().at(10),
              4.0);  // a reused pid

    // Not one figure readable from a process that is there: the reason is reported.
    EXPECT_EQ(memory.refinedMemoryMB({candidate(11, 1, 9)}).error(), ReadError::notFound);
}

TEST(LinuxProcessMemorySource, PageWalkingStaysWithinItsBudget) {
    FakeProc proc;
    testing::VirtualClock clock;
    LinuxProcessMemorySource memory(clock, proc.dir.path());
    const int big = 200000, bigger = 100000;  // resident pages; the budget starts at 262144
    proc.dir.write("20/smaps_rollup", "Pss: 2048 kB\n");
    proc.dir.write("21/smaps_rollup", "Pss: 1024 kB\n");

    // The first process spends most of the budget; the second waits, without a figure.
    EXPECT_EQ(memory.refinedMemoryMB({candidate(20, 500, big), candidate(21, 600, bigger)}).value(),
              (std::unordered_map<int32_t, double>{{20, 2.0}}));
    // Five seconds add 40960 pages: enough for the second, not for a changed first one, which
    // keeps its last figure meanwhile.
    clock.advance(seconds(5));
    proc.dir.write("20/smaps_rollup", "Pss: 4096 kB\n");
    EXPECT_EQ(
        memory.refinedMemoryMB({candidate(21, 600, bigger), candidate(20, 500, big * 2)}).value(),
        (std::unordered_map<int32_t, double>{{20, 2.0}, {21, 1.0}}));
    clock.advance(seconds(60));
    EXPECT_EQ(memory.refinedMemoryMB({candidate(20, 500, big * 2)}).value().at(20), 4.0);
}

// The real kernel: this test process is listed with its parent, its name and its user.
TEST(LinuxProcessSource, ListsThisProcessFromTheRealProc) {
    LinuxProcessSource source({}, nullptr);
    const auto table = source.listProcesses();
    ASSERT_TRUE(table);
    const auto self = std::find_if(table->processes.begin(), table->processes.end(),
                                   [](const auto& reading) { return reading.pid == getpid(); });
    ASSERT_NE(self, table->processes.end());
    EXPECT_EQ(self->ppid, getppid());
    EXPECT_EQ(self->name, "ostrel_platform_tests");
    EXPECT_FALSE(self->user.empty());
    EXPECT_GT(self->residentBytes, 0u);
    // Both are counted in whole ticks: a process started in the tick of the scan has the
    // scan's time, which the CPU window takes as started within it.
    EXPECT_GE(table->scanTime, *self->startTime);
}

}  // namespace
}  // namespace ostrel
