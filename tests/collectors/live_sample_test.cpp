// A full sample of this machine through the real sources: every section the machine can give,
// with values that agree with each other and with the kernel's own figures.
#include <gtest/gtest.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include "collectors/metrics_aggregator.h"
#include "records/record_json.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

std::string firstWordAfter(const std::string& path, const std::string& key) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        if (line.rfind(key, 0) == 0) {
            std::istringstream rest(line.substr(key.size()));
            std::string word;
            rest >> word;
            return word;
        }
    }
    return {};
}

class LiveSample : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        dispatcher = makeThreadDispatcher().release();
        aggregator = new MetricsAggregator(*dispatcher);
        MonitorConfig config;
        aggregator->collectAll(config, true);
        // Long enough for ticks to pass and for the disk counters' cache to expire.
        std::this_thread::sleep_for(1600ms);
        sample = new SystemMetrics(aggregator->collectAll(config, true));
    }
    static void TearDownTestSuite() {
        delete sample;
        delete aggregator;
        delete dispatcher;
    }

    static inline MainLoopDispatcher* dispatcher = nullptr;
    static inline MetricsAggregator* aggregator = nullptr;
    static inline SystemMetrics* sample = nullptr;
};

TEST_F(LiveSample, CarriesEverySectionAndEncodes) {
    EXPECT_FALSE(sample->timestamp.empty());
    EXPECT_FALSE(sample->hostname.empty());
    EXPECT_TRUE(sample->cpu && sample->memory && sample->disk && sample->network &&
                sample->processes && sample->power && sample->gpu && sample->system);
    EXPECT_TRUE(encodeJson(*sample));
}

TEST_F(LiveSample, CpuSharesAddUpAndLoadsAreThoseOfTheKernel) {
    const CPUMetrics& cpu = *sample->cpu;
    EXPECT_EQ(cpu.cpuCount, sysconf(_SC_NPROCESSORS_ONLN));
    ASSERT_TRUE(cpu.userPercent && cpu.systemPercent && cpu.idlePercent);
    for (double share : {*cpu.userPercent, *cpu.systemPercent, *cpu.idlePercent}) {
        EXPECT_GE(share, 0);
        EXPECT_LE(share, 100);
    }
    EXPECT_LE(*cpu.userPercent + *cpu.systemPercent + *cpu.idlePercent, 100.1);
    EXPECT_GT(*cpu.userPercent + *cpu.systemPercent + *cpu.idlePercent, 50);
    double loads[3];
    ASSERT_EQ(getloadavg(loads, 3), 3);
    EXPECT_NEAR(cpu.loadAverage15m, loads[2], 0.1);
    EXPECT_NEAR(cpu.loadPercent, cpu.loadAverage1m / static_cast<double>(cpu.cpuCount) * 100, 1);
    const std::set<std::string> states{"nominal", "fair", "serious", "critical", "unknown"};
    EXPECT_TRUE(states.count(*cpu.thermalState));
}

TEST_F(LiveSample, MemoryFiguresFitInsideTheTotal) {
    const MemoryMetrics& memory = *sample->memory;
    ASSERT_TRUE(memory.totalMB && memory.freeMB && memory.activeMB && memory.inactiveMB &&
                memory.wiredMB && memory.swapTotalMB && memory.pageIns && memory.swapOuts);
    EXPECT_DOUBLE_EQ(*memory.totalMB,
                     std::stod(firstWordAfter("/proc/meminfo", "MemTotal:")) / 1024);
    EXPECT_GT(*memory.freeMB, 0);
    EXPECT_LE(*memory.freeMB + *memory.activeMB + *memory.inactiveMB, *memory.totalMB + 0.3);
    EXPECT_TRUE(memory.pressureLevel == 1 || memory.pressureLevel == 2 ||
                memory.pressureLevel == 4);
    EXPECT_NEAR(*memory.swapUsedMB + *memory.swapFreeMB, *memory.swapTotalMB, 0.2);
    EXPECT_GE(*memory.pageIns, 0);
}

TEST_F(LiveSample, DiskUseIsTotalMinusFreeAndRatesAreGiven) {
    const DiskMetrics& disk = *sample->disk;
    ASSERT_TRUE(disk.totalGB && disk.freeGB && disk.usedGB && disk.percentUsed);
    EXPECT_GT(*disk.totalGB, 0);
    EXPECT_NEAR(*disk.usedGB, *disk.totalGB - *disk.freeGB, 0.11);
    EXPECT_GE(*disk.percentUsed, 0);
    EXPECT_LE(*disk.percentUsed, 100);
    ASSERT_TRUE(disk.readKBPerSec && disk.writeKBPerSec && disk.transfersPerSec);
    EXPECT_GE(*disk.readKBPerSec, 0);
    EXPECT_GE(*disk.writeKBPerSec, 0);
}

TEST_F(LiveSample, NetworkNamesTheDefaultRouteInterfaceWithItsCounters) {
    const NetworkMetrics& network = *sample->network;
    ASSERT_TRUE(network.interface && network.internetConnected);
    std::ifstream routes("/proc/net/route");
    std::string line, routed;
    while (std::getline(routes, line)) {
        std::istringstream fields(line);
        std::string name, destination;
        fields >> name >> destination;
        if (destination == "00000000" && routed.empty()) routed = name;
    }
    if (routed.empty()) GTEST_SKIP() << "no IPv4 default route on this machine";
    EXPECT_EQ(*network.interface, routed);
    EXPECT_TRUE(*network.internetConnected);
    ASSERT_TRUE(network.bytesIn && network.packetsOut && network.errorsIn);
    EXPECT_GT(*network.bytesIn, 0);
    EXPECT_LE(*network.bytesIn, 4294967295);
}

TEST_F(LiveSample, ProcessesAndMachineFactsMatchTheKernel) {
    ASSERT_TRUE(sample->processes->processCount);
    EXPECT_GT(*sample->processes->processCount, 1);
    EXPECT_FALSE(sample->processes->topCPU->empty());

    const SystemInfo& system = *sample->system;
    ASSERT_TRUE(system.uptimeSeconds && system.uptimeHours && system.macOSVersion);
    const double uptime = std::stod(firstWordAfter("/proc/uptime", ""));
    EXPECT_NEAR(static_cast<double>(*system.uptimeSeconds), uptime, 3);
    EXPECT_NEAR(*system.uptimeHours, uptime / 3600, 0.06);
    utsname names;
    uname(&names);
    EXPECT_EQ(std::string(names.release).rfind(*system.macOSVersion, 0), 0u)
        << *system.macOSVersion << " vs " << names.release;
    if (system.cpuBrand) {
        EXPECT_EQ(system.chipDescription->rfind(*system.cpuBrand, 0), 0u);
    }

    // Power and GPU may be empty on a machine without them, but never contradict themselves.
    const PowerMetrics& power = *sample->power;
    if (power.onBattery && power.onAC) {
        EXPECT_FALSE(*power.onBattery && *power.onAC);
    }
    if (power.batteryPercent) {
        EXPECT_LE(*power.batteryPercent, 100);
    }
    if (sample->gpu->deviceUtilization) {
        EXPECT_LE(*sample->gpu->deviceUtilization, 100);
    }
}

}  // namespace
}  // namespace ostrel
