// A full sample of this machine through the real sources: every section the machine can give,
// with values that agree with each other and with the kernel's own figures.
#include <gtest/gtest.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "collectors/metrics_aggregator.h"
#include "records/record_json.h"

namespace ostrel {
namespace {

// The number after `key` in a /proc file.
double kernelFigure(const std::string& path, const std::string& key) {
    std::ifstream file(path);
    std::string word;
    while (file >> word) {
        if (word == key && file >> word) return std::stod(word);
    }
    return -1;
}

class LiveSample : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        dispatcher = makeThreadDispatcher();
        aggregator = std::make_unique<MetricsAggregator>(*dispatcher);
        // Long enough for ticks to pass and for the disk counters' cache to expire.
        std::this_thread::sleep_for(std::chrono::milliseconds(1600));
        sample = aggregator->collectAll(MonitorConfig{}, true);
    }
    static void TearDownTestSuite() {
        aggregator.reset();
        dispatcher.reset();
    }

    static inline std::unique_ptr<MainLoopDispatcher> dispatcher;
    static inline std::unique_ptr<MetricsAggregator> aggregator;
    static inline SystemMetrics sample;
};

TEST_F(LiveSample, CarriesEverySectionAndEncodes) {
    EXPECT_FALSE(sample.hostname.empty());
    EXPECT_TRUE(sample.cpu && sample.memory && sample.disk && sample.network && sample.processes &&
                sample.power && sample.gpu && sample.system);
    EXPECT_TRUE(encodeJson(sample));
    EXPECT_GT(sample.processes->processCount.value_or(0), 1);
}

TEST_F(LiveSample, CpuSharesAddUpAndLoadsAreThoseOfTheKernel) {
    const CPUMetrics& cpu = *sample.cpu;
    EXPECT_EQ(cpu.cpuCount, sysconf(_SC_NPROCESSORS_ONLN));
    ASSERT_TRUE(cpu.userPercent && cpu.systemPercent && cpu.idlePercent);
    const double sum = *cpu.userPercent + *cpu.systemPercent + *cpu.idlePercent;
    EXPECT_LE(sum, 100.1);
    EXPECT_GT(sum, 50);  // the rest is nice time
    std::ifstream loads("/proc/loadavg");
    double one = 0, five = 0, fifteen = 0;
    loads >> one >> five >> fifteen;
    EXPECT_NEAR(cpu.loadAverage15m, fifteen, 0.1);
    EXPECT_NEAR(cpu.loadPercent, cpu.loadAverage1m / static_cast<double>(cpu.cpuCount) * 100, 1);
}

TEST_F(LiveSample, MemoryAndDiskFiguresFitTheirTotals) {
    const MemoryMetrics& memory = *sample.memory;
    ASSERT_TRUE(memory.totalMB && memory.freeMB && memory.activeMB && memory.inactiveMB &&
                memory.swapTotalMB && memory.pageIns && memory.pressureLevel);
    EXPECT_DOUBLE_EQ(*memory.totalMB, kernelFigure("/proc/meminfo", "MemTotal:") / 1024);
    EXPECT_LE(*memory.freeMB + *memory.activeMB + *memory.inactiveMB, *memory.totalMB + 0.3);
    EXPECT_NEAR(*memory.swapUsedMB + *memory.swapFreeMB, *memory.swapTotalMB, 0.2);

    const DiskMetrics& disk = *sample.disk;
    ASSERT_TRUE(disk.totalGB && disk.freeGB && disk.usedGB && disk.percentUsed);
    EXPECT_GT(*disk.totalGB, 0);
    // Blocks held back for the superuser are neither used nor available.
    EXPECT_LE(*disk.usedGB + *disk.freeGB, *disk.totalGB + 0.11);
    EXPECT_LE(*disk.percentUsed, 100);
    EXPECT_GE(disk.readKBPerSec.value_or(-1), 0);
}

TEST_F(LiveSample, NetworkAndMachineFactsMatchTheKernel) {
    const NetworkMetrics& network = *sample.network;
    ASSERT_TRUE(network.interface && network.internetConnected);
    EXPECT_TRUE(std::filesystem::exists("/sys/class/net/" + *network.interface));
    if (*network.internetConnected) {
        ASSERT_TRUE(network.bytesIn && network.packetsOut);
        EXPECT_GT(*network.bytesIn, 0);
    }

    const SystemInfo& system = *sample.system;
    ASSERT_TRUE(system.uptimeSeconds && system.uptimeHours && system.macOSVersion);
    std::ifstream uptimeFile("/proc/uptime");
    double uptime = 0;
    uptimeFile >> uptime;
    EXPECT_NEAR(static_cast<double>(*system.uptimeSeconds), uptime, 3);
    utsname names;
    uname(&names);
    EXPECT_EQ(std::string(names.release).rfind(*system.macOSVersion, 0), 0u);
    if (system.cpuBrand) {
        EXPECT_EQ(system.chipDescription->rfind(*system.cpuBrand, 0), 0u);
    }
}

// The collection queue, the interface refresh and the refinement timer may all sample at once.
TEST_F(LiveSample, OverlappingSamplesFromTwoThreadsStayConsistent) {
    ProcessCollector& processes = aggregator->processCollector();
    processes.setMemoryUpdateInterval(1);
    std::atomic<int> inconsistent{0};
    const auto sampleMany = [&](bool forStorage) {
        for (int i = 0; i < 200; ++i) {
            // Every twentieth sample lists the processes too and looks up a watched name.
            MonitorConfig config;
            config.collectProcesses = i % 20 == 0;
            const SystemMetrics metrics = aggregator->collectAll(config, forStorage);
            const CPUMetrics& cpu = *metrics.cpu;
            const double sum = cpu.userPercent.value_or(0) + cpu.systemPercent.value_or(0) +
                               cpu.idlePercent.value_or(0);
            if (sum > 100.1 || !metrics.memory->totalMB || !metrics.network->interface ||
                (config.collectProcesses && metrics.processes->processCount.value_or(0) < 1)) {
                ++inconsistent;
            }
            if (config.collectProcesses) {
                processes.aggregateByPrefix("ostrel");
                processes.searchProcesses("ostrel", 5, true);
            }
        }
    };
    std::thread storage(sampleMany, true);
    sampleMany(false);
    storage.join();
    EXPECT_EQ(inconsistent, 0);
    // Other tests of this program may run beside this one, so look for this process only.
    const auto own = processes.aggregateByExactName("ostrel_collectors_tests").pids;
    EXPECT_NE(std::find(own.begin(), own.end(), getpid()), own.end());
}

}  // namespace
}  // namespace ostrel
