// Parsers of kernel text, on files captured from a virtual machine and on variants of them.
#include <gtest/gtest.h>

#include "platform/linux/cpu.h"
#include "platform/linux/disk.h"
#include "platform/linux/memory.h"
#include "platform/linux/network.h"
#include "platform/linux/system_info.h"
#include "support/temp_dir.h"

namespace ostrel {
namespace {

TEST(ProcStatTicks, FoldsInterruptsAndStealIntoSystemAndIowaitIntoIdle) {
    const auto vm = parseProcStatTicks(testing::fixture("linux/proc_stat_vm.txt"));
    ASSERT_TRUE(vm);
    EXPECT_EQ(
        *vm, (CpuTicks{.user = 153068, .system = 55092 + 412, .idle = 107526 + 427, .nice = 8411}));

    // guest (2500) and guest_nice (10) are already inside user and nice.
    const auto steal = parseProcStatTicks(testing::fixture("linux/proc_stat_vm_with_steal.txt"));
    ASSERT_TRUE(steal);
    EXPECT_EQ(
        *steal,
        (CpuTicks{
            .user = 20000, .system = 5000 + 120 + 80 + 700, .idle = 90000 + 1500, .nice = 300}));

    // Kernels before iowait existed print four counters.
    EXPECT_EQ(parseProcStatTicks("cpu 1 2 3 4\n"),
              (CpuTicks{.user = 1, .system = 3, .idle = 4, .nice = 2}));
}

TEST(ProcStatTicks, RefusesMalformedTextRatherThanGuessing) {
    for (const char* text :
         {"", "cpu 1 2 3\n", "cpu0 1 2 3 4\n", "cpu 1 2 x 4\n", "cpu 1 -2 3 4\n",
          "cpu 1 2 3 99999999999999999999\n", "cpu 0 0 18446744073709551615 0 0 1\n",
          "intr 1 2 3 4\ncpu 1 2 3 4\n"}) {
        EXPECT_EQ(parseProcStatTicks(text), tl::unexpected(ReadError::parse)) << text;
    }
}

TEST(Meminfo, ReadsTheUsedLinesInBytesAndSkipsMalformedOnes) {
    const auto kib = [](uint64_t count) { return count * 1024; };
    const MeminfoValues vm = parseMeminfo(testing::fixture("linux/proc_meminfo_vm_no_swap.txt"));
    EXPECT_EQ(vm, (MeminfoValues{.total = kib(24683620),
                                 .free = kib(21402800),
                                 .available = kib(23841696),
                                 .active = kib(1149296),
                                 .inactive = kib(1650088),
                                 .unevictable = kib(20932),
                                 .slabUnreclaimable = kib(33768),
                                 .kernelStack = kib(2256),
                                 .pageTables = kib(4676),
                                 .secondaryPageTables = 0,
                                 .percpu = kib(688),
                                 .zswap = 0,
                                 .swapTotal = 0,
                                 .swapFree = 0}));
    // Wired: pinned user pages and the kernel memory that is never reclaimed.
    EXPECT_EQ(wiredBytes(vm), kib(20932 + 33768 + 2256 + 4676 + 688));
    EXPECT_EQ(wiredBytes(MeminfoValues{.kernelStack = 4096}), 4096u);  // an older kernel
    EXPECT_FALSE(wiredBytes(MeminfoValues{.total = 4096}));
    EXPECT_EQ(parseMeminfo("MemTotal: 100 kB\nMemFree: lots kB\nActive: 5\nInactive(anon): 7 kB\n"
                           "Inactive:\nUnevictable: 99999999999999999999 kB\nSwapFree: 1 MB\n"),
              (MeminfoValues{.total = 102400}));
}

TEST(VmstatAndPressure, ReadOnlyWhatIsWellFormed) {
    EXPECT_EQ(parseVmstat("pgpgin\npgpgout -4\npswpin 12\n"), (VmstatCounters{.pswpin = 12}));
    EXPECT_EQ(parsePressureMemory(testing::fixture("linux/proc_pressure_memory_vm.txt"))->fullAvg10,
              0.0);
    EXPECT_FALSE(parsePressureMemory("some avg10=1.00 avg60=0.00\n"));
    EXPECT_FALSE(parsePressureMemory("some avg10=x\nfull avg10=1\n"));
}

TEST(PressureLevel, EntersAtTheUpperThresholdAndLeavesOnlyBelowTheLowerOne) {
    const auto step = [](int64_t level, double some, double full) {
        return nextPressureLevel(level, some, full, stallThresholds);
    };
    EXPECT_EQ(step(1, 9.99, 0), 1);
    EXPECT_EQ(step(1, 10, 0), 2);
    EXPECT_EQ(step(2, 6, 0), 2);  // between the thresholds: stays
    EXPECT_EQ(step(1, 6, 0), 1);
    EXPECT_EQ(step(2, 4.99, 0), 1);
    EXPECT_EQ(step(1, 10, 10), 4);
    EXPECT_EQ(step(4, 12, 6), 4);
    EXPECT_EQ(step(4, 12, 4), 2);  // leaves critical but the warning measure holds
    EXPECT_EQ(step(4, 1, 4), 1);

    const auto fallback = [](int64_t level, double unavailable) {
        return nextPressureLevel(level, unavailable, unavailable, unavailableThresholds);
    };
    EXPECT_EQ(fallback(1, 89), 1);
    EXPECT_EQ(fallback(1, 95.1), 4);
    EXPECT_EQ(fallback(4, 93), 4);
    EXPECT_EQ(fallback(4, 92), 2);
    EXPECT_EQ(fallback(2, 84.9), 1);
}

TEST(Diskstats, SumsSectorsOfTheListedWholeDisksOnly) {
    const auto vm =
        sumDiskstats(testing::fixture("linux/proc_diskstats_vm_loop_zram.txt"), {"vda"});
    ASSERT_TRUE(vm);
    EXPECT_EQ(*vm, (DiskIOCounters{3380578ull * 512, 14178240ull * 512}));

    const std::string two =
        "   8       0 sda 10 0 100 0 20 0 200 0 0 0 0\n"
        "   8       1 sda1 10 0 100 0 20 0 200 0 0 0 0\n"
        " 259       0 nvme0n1 1 0 4 0 2 0 8 0 0 0 0\n";
    EXPECT_EQ(sumDiskstats(two, {"sda", "nvme0n1"}), (DiskIOCounters{104 * 512, 208 * 512}));
    EXPECT_FALSE(sumDiskstats(two, {"vdb"}));
    // A listed disk's malformed line voids the sum: a partial one would look like a wrap.
    EXPECT_FALSE(sumDiskstats("8 0 sda 10 0 100\n", {"sda"}));
    EXPECT_FALSE(sumDiskstats("8 0 sda 1 0 x 0 2 0 3 0\n", {"sda"}));
    EXPECT_FALSE(sumDiskstats("8 0 sda 1 0 36028797018963968 0 2 0 3 0\n", {"sda"}));

    EXPECT_TRUE(isWholeDisk("nvme0n1", true));
    EXPECT_FALSE(isWholeDisk("vda", false));
    for (const char* stacked : {"loop0", "zram0", "ram0", "dm-1", "md127", "nbd0"}) {
        EXPECT_FALSE(isWholeDisk(stacked, true)) << stacked;
    }
}

TEST(RouteTables, ChooseTheUsableDefaultOfLowestMetric) {
    EXPECT_EQ(defaultRouteFromProcRoute(testing::fixture("linux/proc_net_route_vm.txt")), "eth0");
    const std::string header = "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n";
    EXPECT_EQ(
        defaultRouteFromProcRoute(header + "wlan0\t00000000\t0101A8C0\t0003\t0\t0\t600\t00000000\n"
                                           "eth1\t00000000\t0101A8C0\t0003\t0\t0\t100\t00000000\n"
                                           "eth2\t0000A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\n"),
        "eth1");
    // Down (flags without RTF_UP) and reject routes are not usable.
    EXPECT_FALSE(defaultRouteFromProcRoute(header +
                                           "eth0\t00000000\t0101A8C0\t0002\t0\t0\t0\t00000000\n"
                                           "lo\t00000000\t00000000\t0201\t0\t0\t0\t00000000\n"));
    EXPECT_FALSE(defaultRouteFromProcRoute(header + "eth0\t00000000\n"));

    // The captured table also holds an unreachable default on lo, which must lose.
    EXPECT_EQ(defaultRouteFromProcIpv6Route(testing::fixture("linux/proc_net_ipv6_route_vm.txt")),
              "eth0");
}

TEST(MachineFacts, ParseKernelReleaseBrandCpuListsAndNames) {
    EXPECT_EQ(parseKernelRelease("6.18.44-fc-v769\n"), (OsVersion{6, 18, 44}));
    EXPECT_EQ(parseKernelRelease("6.1-rc3"), (OsVersion{6, 1, 0}));
    EXPECT_FALSE(parseKernelRelease("linux"));
    EXPECT_FALSE(parseKernelRelease("6"));

    EXPECT_EQ(parseCpuBrand(testing::fixture("linux/proc_cpuinfo_vm_epyc.txt")), "AMD EPYC");
    EXPECT_FALSE(parseCpuBrand("processor\t: 0\nmodel name\t:   \n"));
    EXPECT_FALSE(parseCpuBrand("processor\t: 0\nCPU part\t: 0xd0b\n"));

    EXPECT_EQ(parseLoadAverages("2.00 0.40 0.30 1/90 123\n")->fifteenMinutes, 0.3);
    EXPECT_FALSE(parseLoadAverages("0.1 -0.2 0.3\n"));
    EXPECT_FALSE(parseLoadAverages("0.1 0.2\n"));

    EXPECT_EQ(countCpuList("0-15\n"), 16);
    EXPECT_EQ(countCpuList("0-3,8,10-11"), 7);
    EXPECT_FALSE(countCpuList("3-1"));
    EXPECT_FALSE(countCpuList("0-x"));
    EXPECT_FALSE(countCpuList(""));

    EXPECT_EQ(splitByCapacity({1024, 1024, 446, 446, 446, 446, 871, 871}), (CoreSplit{4, 4}));
    EXPECT_FALSE(splitByCapacity({1024, 1024}));
    EXPECT_FALSE(splitByCapacity({}));

    EXPECT_EQ(parsePrettyHostname("ICON_NAME=computer\nPRETTY_HOSTNAME=\"Ana's \\\"Laptop\\\"\"\n"),
              "Ana's \"Laptop\"");
    EXPECT_EQ(parsePrettyHostname("PRETTY_HOSTNAME=plain"), "plain");
    EXPECT_FALSE(parsePrettyHostname("PRETTY_HOSTNAME=\"\"\n"));
    EXPECT_FALSE(parsePrettyHostname("CHASSIS=laptop\n"));

    EXPECT_TRUE(isPlaceholderModel("To Be Filled By O.E.M."));
    EXPECT_TRUE(isPlaceholderModel(" "));
    EXPECT_FALSE(isPlaceholderModel("ThinkPad X1 Carbon"));
}

}  // namespace
}  // namespace ostrel
