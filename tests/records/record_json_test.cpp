#include "records/record_json.h"

#include <gtest/gtest.h>

#include <limits>

namespace ostrel {
namespace {

SystemMetrics fullSample() {
    SystemMetrics m;
    m.timestamp = "2026-11-22T10:15:30.123-05:00";
    m.hostname = "build/host";
    m.cpu = CPUMetrics{.loadAverage1m = 1.25,
                       .loadAverage5m = 0.5,
                       .loadAverage15m = 2,
                       .cpuCount = 8,
                       .loadPercent = 15.6,
                       .userPercent = 12.3,
                       .systemPercent = 4.5,
                       .idlePercent = 83.2,
                       .thermalThrottle = false,
                       .thermalState = "nominal",
                       .thermalLevel = 0};
    m.memory = MemoryMetrics{.totalMB = 16384, .freeMB = 1024.5, .pressureLevel = 1,
                             .pressureString = "normal", .pageIns = 123456789};
    m.disk = DiskMetrics{.totalGB = 500.1, .percentUsed = 42, .readKBPerSec = 0.1};
    m.network = NetworkMetrics{.interface = "eth0", .bytesIn = 4294967295,
                               .internetConnected = true};
    m.processes = ProcessMetrics{
        .topCPU = std::vector<ProcessMetricInfo>{{.pid = 42, .ppid = 1, .name = "Safari",
                                                  .cpuPercent = 99.9, .memoryMB = 512.25,
                                                  .user = "alice"}},
        .topMemory = std::vector<ProcessMetricInfo>{},
        .topNetwork = std::vector<ProcessNetworkInfo>{
            {.pid = 7, .name = "curl", .bytesIn = std::numeric_limits<uint64_t>::max(),
             .bytesOut = 1}},
        .topDisk = std::vector<ProcessDiskInfo>{
            {.pid = 8, .name = "dd", .readBytesPerSec = 1e9, .writeBytesPerSec = 0}},
        .processCount = 75};
    m.power = PowerMetrics{.onBattery = false, .onAC = true, .batteryState = "charged"};
    m.gpu = GPUMetrics{.model = "Virtio GPU", .inUseMemoryBytes = 18446744073709551615ULL};
    m.system = SystemInfo{.uptimeSeconds = 3600, .uptimeHours = 1, .macOSVersion = "6.1.0"};
    return m;
}

TEST(RecordJson, SampleRoundTripsWithoutUserAndWithExactUnsigned) {
    const SystemMetrics sample = fullSample();
    const auto line = encodeJson(sample);
    ASSERT_TRUE(line) << line.error().message();
    EXPECT_EQ(line->find("alice"), std::string::npos);
    EXPECT_NE(line->find("\"hostname\":\"build\\/host\""), std::string::npos);
    EXPECT_NE(line->find("\"bytes_in\":18446744073709551615"), std::string::npos);

    auto decoded = decodeJson<SystemMetrics>(*line);
    ASSERT_TRUE(decoded) << decoded.error().message();
    SystemMetrics expected = sample;
    expected.processes->topCPU->front().user.reset();
    EXPECT_EQ(*decoded, expected);
}

}  // namespace
}  // namespace ostrel
