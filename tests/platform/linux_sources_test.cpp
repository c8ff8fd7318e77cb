// The Linux sources on small fake /proc and /sys trees.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "platform/linux/cpu.h"
#include "platform/linux/disk.h"
#include "platform/linux/gpu.h"
#include "platform/linux/kernel_file.h"
#include "platform/linux/memory.h"
#include "platform/linux/power.h"
#include "platform/linux/system_info.h"
#include "support/temp_dir.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

TEST(LinuxMemorySource, FallsBackFromPressureStallToAvailableMemoryKeepingItsLevel) {
    testing::TempDir proc;
    proc.write("meminfo", testing::fixture("linux/proc_meminfo_swap_zswap_low_available.txt"));
    proc.write("vmstat", testing::fixture("linux/proc_vmstat_vm.txt"));
    LinuxMemorySource source(proc.path());
    const auto pages = [](int64_t kib) { return kib * 1024 / sysconf(_SC_PAGESIZE); };

    const MemorySnapshot low = source.read();
    EXPECT_EQ(low.totalBytes, 24683620ull * 1024);
    EXPECT_EQ(low.pressureLevel, 4);  // less than 5% available, no PSI
    EXPECT_EQ(low.swap,
              (SwapUsage{8388604ull * 1024, (8388604ull - 8000000) * 1024, 8000000ull * 1024}));
    // zswap counts as compressed; pgpgin and pgpgout count KiB, the sample counts pages.
    EXPECT_EQ(low.vmStats, (VmStats{.freeBytes = 21402800ull * 1024,
                                    .activeBytes = 1149296ull * 1024,
                                    .inactiveBytes = 1650088ull * 1024,
                                    .wiredBytes = (20932ull + 33768 + 2256 + 4676 + 688) * 1024,
                                    .compressedBytes = 102400ull * 1024,
                                    .pageIns = pages(1690289),
                                    .pageOuts = pages(7089056),
                                    .swapIns = 0,
                                    .swapOuts = 0}));

    // With PSI: the critical level is left (full 3.1 < 5) but some 12.5 holds a warning.
    proc.write("pressure/memory", testing::fixture("linux/proc_pressure_memory_stalled.txt"));
    EXPECT_EQ(source.read().pressureLevel, 2);
}

TEST(LinuxMemorySource, ReadsVmstatFurtherWhenItsCountersStandLate) {
    testing::TempDir proc;
    std::string vmstat;
    for (int i = 0; vmstat.size() < 3000; ++i)
        vmstat += "nr_filler_" + std::to_string(i) + " 1\n";
    proc.write("vmstat", vmstat + "pgpgin 8\npgpgout 16\npswpin 1\npswpout 2\n");
    LinuxMemorySource source(proc.path());
    const MemorySnapshot snapshot = source.read();
    ASSERT_TRUE(snapshot.vmStats);
    EXPECT_EQ(snapshot.vmStats->pageOuts, 16 * 1024 / sysconf(_SC_PAGESIZE));
    EXPECT_EQ(snapshot.vmStats->swapOuts, 2);
}

TEST(KernelFile, ReadsTheCurrentTextEachTimeAndRetriesAMissingFile) {
    testing::TempDir dir;
    KernelFile file((dir / "loadavg").string());
    std::array<char, 64> buffer;
    EXPECT_EQ(file.read(buffer), tl::unexpected(ReadError::notFound));
    dir.write("loadavg", "0.50 0.40 0.30 1/90 123\n");
    EXPECT_EQ(file.read(buffer), std::string_view("0.50 0.40 0.30 1/90 123\n"));
    // Rewritten in place, as the kernel regenerates its files: the same descriptor sees it.
    std::ofstream(dir / "loadavg", std::ios::in | std::ios::out) << "2.00";
    EXPECT_EQ(file.read(std::span(buffer).first(4)), std::string_view("2.00"));
}

TEST(LinuxMemorySource, MissingFilesLeaveOnlyTheirOwnFiguresUntilTheyAppear) {
    testing::TempDir proc;
    LinuxMemorySource source(proc.path());
    const MemorySnapshot nothing = source.read();
    EXPECT_FALSE(nothing.totalBytes || nothing.pressureLevel || nothing.swap);
    EXPECT_EQ(nothing.vmStats, tl::unexpected(ReadError::notFound));

    proc.write("vmstat", "pswpin 3\npswpout 4\n");
    proc.write("meminfo", "MemTotal: 1000 kB\nSwapTotal: 10 kB\nSwapFree: 20 kB\n");
    const MemorySnapshot partial = source.read();
    EXPECT_EQ(partial.totalBytes, 1024000u);
    EXPECT_FALSE(partial.pressureLevel);  // neither PSI nor MemAvailable
    EXPECT_FALSE(partial.swap);           // more free than total is no reading
    EXPECT_EQ(partial.vmStats, (VmStats{.swapIns = 3, .swapOuts = 4}));
}

struct ThermalTree {
    testing::TempDir sys;
    void zone(int index, const std::string& temperature,
              const std::vector<std::pair<std::string, std::string>>& trips) {
        const std::string base = "class/thermal/thermal_zone" + std::to_string(index) + "/";
        sys.write(base + "temp", temperature + "\n");
        for (size_t i = 0; i < trips.size(); ++i) {
            const std::string trip = base + "trip_point_" + std::to_string(i) + "_";
            sys.write(trip + "type", trips[i].first + "\n");
            sys.write(trip + "temp", trips[i].second + "\n");
        }
    }
};

TEST(LinuxCpuSource, ThermalStateIsTheHighestTripReachedByAnyZone) {
    ThermalTree tree;
    testing::VirtualClock clock;
    LinuxCpuSource source("/nonexistent", tree.sys.path(), clock);
    EXPECT_FALSE(source.thermalState());  // no zones at all: unknown

    tree.zone(0, "45000", {{"active", "40000"}, {"passive", "90000"}, {"critical", "105000"}});
    tree.zone(1, "95000", {{"passive", "90000"}, {"hot", "0"}});  // a 0 trip is unused
    tree.zone(2, "garbage", {{"critical", "10000"}});
    tree.sys.write("class/thermal/cooling_device0/type", "Processor\n");
    // Zones are found again only once a minute.
    clock.advance(59s);
    EXPECT_FALSE(source.thermalState());
    clock.advance(1s);
    EXPECT_EQ(source.thermalState(), 2);

    tree.sys.write("class/thermal/thermal_zone1/temp", "120000\n");
    EXPECT_EQ(source.thermalState(), 2);  // the unused hot trip never counts
    tree.sys.write("class/thermal/thermal_zone0/temp", "105000\n");
    EXPECT_EQ(source.thermalState(), 3);
    EXPECT_EQ(zoneThermalLevel(30000, {ThermalTrip{"active", 40000}}), 0);
}

TEST(LinuxDiskSource, CountsWholeDisksThatSysfsListsIncludingHotPluggedOnes) {
    testing::TempDir proc, sys;
    testing::VirtualClock clock;
    sys.write("block/vda/device/vendor", "0x1af4\n");
    sys.write("block/loop0/size", "0\n");
    sys.write("block/dm-0/device/x", "stacked devices count on their disks\n");
    proc.write("diskstats",
               " 254 0 vda 1 0 10 0 1 0 20 0 0 0 0\n"
               " 254 1 vda1 1 0 10 0 1 0 20 0 0 0 0\n"
               "   7 0 loop0 1 0 1000 0 1 0 1000 0 0 0 0\n"
               " 253 0 dm-0 1 0 1000 0 1 0 1000 0 0 0 0\n"
               "   8 0 sdb 1 0 4 0 1 0 4 0 0 0 0\n");
    LinuxDiskSource source(proc.path(), sys.path(), clock, sys.path());
    EXPECT_EQ(source.ioCounters(), (DiskIOCounters{10 * 512, 20 * 512}));
    sys.write("block/sdb/device/vendor", "USB\n");
    EXPECT_EQ(source.ioCounters(), (DiskIOCounters{10 * 512, 20 * 512}));
    clock.advance(LinuxDiskSource::diskRediscovery);
    EXPECT_EQ(source.ioCounters(), (DiskIOCounters{14 * 512, 24 * 512}));

    const DiskCapacity capacity = source.capacity();
    ASSERT_TRUE(capacity.totalBytes && capacity.freeBytes && capacity.availableBytes);
    EXPECT_LE(*capacity.availableBytes, *capacity.freeBytes);
    EXPECT_LE(*capacity.freeBytes, *capacity.totalBytes);
    // An ext4 volume of 1000 blocks of 4 KiB, 300 free of which 50 are held back for root.
    struct statvfs reserved {};
    reserved.f_frsize = 4096;
    reserved.f_blocks = 1000;
    reserved.f_bfree = 300;
    reserved.f_bavail = 250;
    EXPECT_EQ(capacityFromStatvfs(reserved), (DiskCapacity{1000 * 4096, 300 * 4096, 250 * 4096}));
    EXPECT_FALSE(
        LinuxDiskSource(proc.path(), "/nonexistent", clock, "/nonexistent").capacity().totalBytes);
    EXPECT_FALSE(LinuxDiskSource("/nonexistent", sys.path(), clock).ioCounters());
}

TEST(LinuxPowerSource, DescribesSystemBatteriesWithTheAdapterState) {
    using Descriptions = std::vector<PowerSourceDescription>;
    testing::TempDir sys;
    testing::VirtualClock clock;
    LinuxPowerSource source(sys.path(), clock);
    EXPECT_TRUE(source.powerSources().empty());

    sys.write("class/power_supply/AC/uevent", "POWER_SUPPLY_TYPE=Mains\nPOWER_SUPPLY_ONLINE=0\n");
    sys.write("class/power_supply/BAT0/uevent",
              "POWER_SUPPLY_NAME=BAT0\nPOWER_SUPPLY_TYPE=Battery\n"
              "POWER_SUPPLY_STATUS=Discharging\nPOWER_SUPPLY_ENERGY_FULL=60000000\n"
              "POWER_SUPPLY_ENERGY_NOW=30000000\nPOWER_SUPPLY_CAPACITY=49\n");
    sys.write("class/power_supply/hidpp_battery_0/uevent",
              "POWER_SUPPLY_TYPE=Battery\nPOWER_SUPPLY_SCOPE=Device\nPOWER_SUPPLY_CAPACITY=5\n");
    clock.advance(LinuxPowerSource::supplyRediscovery);
    // Energy counters are finer than the capacity; a peripheral's battery is left out.
    EXPECT_EQ(source.powerSources(), (Descriptions{{.state = "Battery Power",
                                                    .currentCapacity = 30000000,
                                                    .maxCapacity = 60000000,
                                                    .isCharging = false,
                                                    .isCharged = false}}));

    // The list is kept, the properties are read afresh.
    sys.write("class/power_supply/AC/uevent", "POWER_SUPPLY_TYPE=Mains\nPOWER_SUPPLY_ONLINE=1\n");
    sys.write("class/power_supply/BAT0/uevent",
              "POWER_SUPPLY_TYPE=Battery\nPOWER_SUPPLY_STATUS=Not charging\n");
    EXPECT_EQ(source.powerSources(),
              (Descriptions{{.state = "AC Power", .isCharging = false, .isCharged = true}}));

    // A battery with only a percentage and no adapter entry: charging implies mains.
    EXPECT_EQ(describePowerSupplies({parsePowerSupplyUevent(
                  "POWER_SUPPLY_TYPE=Battery\nPOWER_SUPPLY_STATUS=Charging\n"
                  "POWER_SUPPLY_CAPACITY=57\nPOWER_SUPPLY_ONLINE=x\n")}),
              (Descriptions{{.state = "AC Power",
                             .currentCapacity = 57,
                             .maxCapacity = 100,
                             .isCharging = true,
                             .isCharged = false}}));
    // A desktop: mains only.
    EXPECT_EQ(describePowerSupplies({{.type = "Mains", .online = true}}),
              (Descriptions{{.state = "AC Power"}}));
}

TEST(LinuxPowerSource, BlockingSleepAndIdleInhibitorsCountAsAssertions) {
    EXPECT_EQ(sleepAssertionsFromInhibitors({{"sleep", "block"},
                                             {"idle:sleep:shutdown", "block"},
                                             {"idle", "block"},
                                             {"sleep", "delay"},
                                             {"handle-lid-switch", "block"},
                                             {"sleepy", "block"}}),
              (std::vector<SleepAssertion>{{"PreventSystemSleep", 2},
                                           {"PreventUserIdleSystemSleep", 1}}));
}

TEST(LinuxGpuSource, ReadsDrmCardsAndNamesThemWithoutADatabase) {
    testing::TempDir sys;
    sys.write("devices/pci0/drivers/amdgpu/bind", "");
    sys.write("class/drm/card0/device/gpu_busy_percent", "37\n");
    sys.write("class/drm/card0/device/mem_info_vram_used", "1048576\n");
    sys.write("class/drm/card0/device/vendor", "0x1002\n");
    sys.write("class/drm/card0/device/device", "0x73bf\n");
    fs::create_symlink(sys / "devices/pci0/drivers/amdgpu", sys / "class/drm/card0/device/driver");
    sys.write("class/drm/card0-DP-1/status", "connected\n");
    sys.write("class/drm/card1/device/product_name", "Arc A770\n");
    sys.write("class/drm/card1/device/gpu_busy_percent", "busy\n");
    sys.write("class/drm/renderD128/dev", "226:128\n");

    LinuxGpuSource source(sys.path(), false);
    EXPECT_EQ(
        source.accelerators(),
        (std::vector<AcceleratorReading>{
            {.model = "amdgpu 1002:73bf", .deviceUtilization = 37, .inUseMemoryBytes = 1048576},
            {.model = "Arc A770"}}));
    EXPECT_FALSE(source.coreCount());

    const auto none = LinuxGpuSource("/nonexistent", false).accelerators();
    ASSERT_TRUE(none);
    EXPECT_TRUE(none->empty());
}

TEST(LinuxSystemInfoSource, ReadsModelAndCoresOnceAndTheNameAgainWhenItsFileChanges) {
    testing::TempDir proc, sys, etc;
    proc.write("cpuinfo", testing::fixture("linux/proc_cpuinfo_vm_epyc.txt"));
    sys.write("class/dmi/id/product_name", "System Product Name\n");
    sys.write("class/dmi/id/board_name", "X570 AORUS\n");
    sys.write("devices/cpu_core/cpus", "0-15\n");
    sys.write("devices/cpu_atom/cpus", "16-23\n");
    etc.write("machine-info", "PRETTY_HOSTNAME=\"Build Box\"\n");
    LinuxSystemInfoSource hybrid(proc.path(), sys.path(), etc.path());
    EXPECT_EQ(hybrid.hardwareModel(), "X570 AORUS");
    EXPECT_EQ(hybrid.cpuBrand(), "AMD EPYC");
    EXPECT_EQ(hybrid.performanceCores(), 16);
    EXPECT_EQ(hybrid.efficiencyCores(), 8);
    EXPECT_EQ(hybrid.hostName(), "Build Box");
    EXPECT_TRUE(hybrid.osVersion());
    char name[256] = {};
    gethostname(name, sizeof(name) - 1);
    // The file is read once until it changes: replaced by a rename, written in place, removed.
    etc.write("machine-info.new", "PRETTY_HOSTNAME=\"Lab Box\"\n");
    fs::rename(etc.path() / "machine-info.new", etc.path() / "machine-info");
    EXPECT_EQ(hybrid.hostName(), "Lab Box");
    EXPECT_EQ(hybrid.hostName(), "Lab Box");
    etc.write("machine-info", "PRETTY_HOSTNAME=Lab\n");
    EXPECT_EQ(hybrid.hostName(), "Lab");
    fs::remove(etc.path() / "machine-info");
    EXPECT_EQ(hybrid.hostName(), name);

    testing::TempDir arm;
    arm.write("firmware/devicetree/base/model", std::string("Raspberry Pi 5", 14) + '\0');
    for (int cpu = 0; cpu < 4; ++cpu) {
        arm.write("devices/system/cpu/cpu" + std::to_string(cpu) + "/cpu_capacity",
                  cpu < 1 ? "1024\n" : "512\n");
    }
    arm.write("devices/system/cpu/cpufreq/policy0/x", "");
    LinuxSystemInfoSource board("/nonexistent", arm.path(), "/nonexistent");
    EXPECT_EQ(board.hardwareModel(), "Raspberry Pi 5");
    EXPECT_FALSE(board.cpuBrand());
    EXPECT_EQ(board.performanceCores(), 1);
    EXPECT_EQ(board.efficiencyCores(), 3);
    EXPECT_EQ(board.hostName(), name);
}

}  // namespace
}  // namespace ostrel
