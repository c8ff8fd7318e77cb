#pragma once

// Records shaped like those of a busy desktop, for benchmarks: every section, 20 top-CPU and
// 20 top-memory processes with real-world names, 5 network and 5 disk users.

#include <array>
#include <string>

#include "records/alert_event.h"
#include "records/formatters.h"
#include "records/system_metrics.h"
#include "records/watched_process_event.h"

namespace ostrel::bench {

inline constexpr std::array<const char*, 20> kProcessNames = {
    "Google Chrome Helper (Renderer)", "WindowServer", "kernel_task", "Slack Helper",
    "Microsoft Teams", "firefox", "Code Helper (Plugin)", "mds_stores", "Spotify",
    "zoom.us", "com.apple.WebKit.WebContent", "Dropbox", "java", "python3.11",
    "node", "Finder", "Mail", "Terminal", "postgres", "dockerd"};

// A sample taken `index` steps of `stepSeconds` after 2026-11-22T00:00:00 local time.
inline SystemMetrics realisticSample(int index = 0, int stepSeconds = 2) {
    using namespace std::chrono;
    const Date when = Date(seconds(1795305600 + int64_t{index} * stepSeconds) + milliseconds(137));
    const double wobble = (index % 97) / 10.0;
    SystemMetrics m;
    m.timestamp = Formatters::localIso8601WithOffset(when);
    m.hostname = "lab-macbook-pro-0421.corp.example.com";
    m.cpu = CPUMetrics{.loadAverage1m = 2.41 + wobble, .loadAverage5m = 2.07, .loadAverage15m = 1.88,
                       .cpuCount = 10, .loadPercent = 24.1, .userPercent = 18.4 + wobble,
                       .systemPercent = 7.9, .idlePercent = 73.7 - wobble,
                       .thermalThrottle = false, .thermalState = "nominal", .thermalLevel = 0};
    m.memory = MemoryMetrics{.totalMB = 32768, .freeMB = 1843.6, .activeMB = 14022.3,
                             .inactiveMB = 13380.1, .wiredMB = 3112.9, .compressedMB = 409.4,
                             .pressureLevel = 1, .pressureString = "normal",
                             .pageIns = 48211533 + index, .pageOuts = 120443, .swapIns = 8812,
                             .swapOuts = 10211, .swapTotalMB = 2048, .swapUsedMB = 611.3,
                             .swapFreeMB = 1436.7};
    m.disk = DiskMetrics{.totalGB = 994.7, .usedGB = 612.4, .freeGB = 382.3,
                         .percentUsed = 62, .readKBPerSec = 412.6 + wobble,
                         .writeKBPerSec = 1289.4, .transfersPerSec = 425.9};
    m.network = NetworkMetrics{.interface = "en0", .packetsIn = 182334112 + index,
                               .packetsOut = 90331877, .bytesIn = 3112344981,
                               .bytesOut = 881233471, .errorsIn = 0, .errorsOut = 0,
                               .internetConnected = true};
    ProcessMetrics processes{.topCPU = std::vector<ProcessMetricInfo>{},
                             .topMemory = std::vector<ProcessMetricInfo>{},
                             .topNetwork = std::vector<ProcessNetworkInfo>{},
                             .topDisk = std::vector<ProcessDiskInfo>{},
                             .processCount = 612};
    for (int i = 0; i < 20; ++i) {
        processes.topCPU->push_back({.pid = 400 + i * 37, .ppid = 1, .name = kProcessNames[i],
                                     .cpuPercent = 95.2 - i * 4.1, .memoryMB = 812.4 - i * 11.3});
        processes.topMemory->push_back({.pid = 900 + i * 53, .ppid = 1,
                                        .name = kProcessNames[19 - i],
                                        .cpuPercent = 3.1 + i * 0.2,
                                        .memoryMB = 4096.5 - i * 150.25});
    }
    for (int i = 0; i < 5; ++i) {
        processes.topNetwork->push_back({.pid = 500 + i, .name = kProcessNames[i],
                                         .bytesIn = 88123441ULL * (i + 1),
                                         .bytesOut = 1233112ULL * (i + 3)});
        processes.topDisk->push_back({.pid = 600 + i, .name = kProcessNames[i + 5],
                                      .readBytesPerSec = 204800.5 * (i + 1),
                                      .writeBytesPerSec = 409600.25 * i});
    }
    m.processes = std::move(processes);
    m.power = PowerMetrics{.onBattery = false, .onAC = true, .batteryPercent = 87,
                           .batteryState = "charging", .preventSleepAssertions = 2};
    m.gpu = GPUMetrics{.model = "Apple M2 Pro", .coreCount = 19, .deviceUtilization = 23,
                       .rendererUtilization = 21, .tilerUtilization = 9,
                       .inUseMemoryBytes = 1523331072, .allocatedMemoryBytes = 3221225472};
    m.system = SystemInfo{.uptimeSeconds = 412233 + index * stepSeconds, .uptimeHours = 114.5,
                          .macOSVersion = "14.6.1", .hardwareModel = "Mac14,10",
                          .cpuBrand = "Apple M2 Pro", .consoleUser = "jsmith",
                          .performanceCores = 6, .efficiencyCores = 4, .gpuCores = 19,
                          .chipDescription = "Apple M2 Pro (6P + 4E cores, 19-core GPU)"};
    return m;
}

inline WatchedProcessEvent realisticWatchedEvent() {
    return WatchedProcessEvent{
        .timestamp = "2026-11-22T15:15:30.137Z",
        .hostname = "lab-macbook-pro-0421.corp.example.com",
        .watched = {.pattern = "Microsoft Teams", .processCount = 4, .cpuPercent = 12.7,
                    .memoryMB = 1433.2, .networkBytesIn = 88123441, .networkBytesOut = 1233112,
                    .diskReadBytesPerSec = 20480.5, .diskWriteBytesPerSec = 4096}};
}

inline AlertEvent realisticAlertEvent() {
    AlertEvent event{.timestamp = Date(std::chrono::seconds(1795360530)),
                     .hostname = "lab-macbook-pro-0421.corp.example.com"};
    event.alert = {.type = "cpu_high",
                   .message = "CPU usage has been above 90% for 60 seconds",
                   .value = "96.4%",
                   .threshold = "90%",
                   .topCPUProcesses = std::vector<AlertProcessInfo>{},
                   .topMemoryProcesses = std::vector<AlertProcessInfo>{}};
    for (int i = 0; i < 5; ++i) {
        event.alert.topCPUProcesses->push_back(
            {.pid = 400 + i, .name = kProcessNames[i], .cpuPercent = 95.2 - i * 9.5});
        event.alert.topMemoryProcesses->push_back(
            {.pid = 900 + i, .name = kProcessNames[19 - i], .memoryMB = 4096.5 - i * 300});
    }
    return event;
}

}  // namespace ostrel::bench
