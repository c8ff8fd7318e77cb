#include "support/sample_records.h"

#include "records/formatters.h"

namespace ostrel::testing {
namespace {

constexpr const char* kHost = "ops-laptop-07.corp.example.com";
constexpr const char* kNames[] = {"firefox",
                                  "code",
                                  "slack",
                                  "gnome-shell",
                                  "dockerd",
                                  "Isolated Web Content",
                                  "pipewire",
                                  "Xwayland",
                                  "chrome",
                                  "Web Content",
                                  "evolution",
                                  "java",
                                  "python3.11",
                                  "node",
                                  "nautilus",
                                  "gnome-terminal-server",
                                  "postgres",
                                  "containerd",
                                  "systemd-journald",
                                  "tracker-miner-fs-3"};
constexpr int kNameCount = sizeof kNames / sizeof kNames[0];

// Figures with the decimals the collectors round to, varied but reproducible.
double figure(int sequence, int salt, double scale) {
    const int mixed = (sequence * 7919 + salt * 104729) % 10007;
    return roundedTo(mixed * scale / 10007.0, 1);
}

}  // namespace

SystemMetrics realisticSample(Date when, int sequence) {
    SystemMetrics m;
    m.timestamp = Formatters::localIso8601WithOffset(when);
    m.hostname = kHost;
    const double user = figure(sequence, 1, 60), system = figure(sequence, 2, 20);
    m.cpu = CPUMetrics{.loadAverage1m = roundedTo(figure(sequence, 3, 8), 2),
                       .loadAverage5m = roundedTo(figure(sequence, 4, 6), 2),
                       .loadAverage15m = roundedTo(figure(sequence, 5, 4), 2),
                       .cpuCount = 12,
                       .loadPercent = roundedTo(user + system, 1),
                       .userPercent = user,
                       .systemPercent = system,
                       .idlePercent = roundedTo(100 - user - system, 1),
                       .thermalThrottle = false,
                       .thermalState = "nominal",
                       .thermalLevel = 0};
    m.memory = MemoryMetrics{.totalMB = 32768,
                             .freeMB = figure(sequence, 6, 8000),
                             .activeMB = figure(sequence, 7, 12000),
                             .inactiveMB = figure(sequence, 8, 6000),
                             .wiredMB = figure(sequence, 9, 3000),
                             .compressedMB = figure(sequence, 10, 1500),
                             .pressureLevel = 1,
                             .pressureString = "normal",
                             .pageIns = 8'812'334 + sequence * 17,
                             .pageOuts = 120'553 + sequence,
                             .swapIns = 0,
                             .swapOuts = 0,
                             .swapTotalMB = 8192,
                             .swapUsedMB = figure(sequence, 11, 900),
                             .swapFreeMB = 7292.4};
    m.disk = DiskMetrics{.totalGB = 994.7,
                         .usedGB = 512.3,
                         .freeGB = 482.4,
                         .percentUsed = 52,
                         .readKBPerSec = figure(sequence, 12, 4000),
                         .writeKBPerSec = figure(sequence, 13, 9000),
                         .transfersPerSec = figure(sequence, 14, 300)};
    m.network = NetworkMetrics{.interface = "wlp0s20f3",
                               .packetsIn = 51'234'112 + sequence * 311,
                               .packetsOut = 33'876'045 + sequence * 207,
                               .bytesIn = 61'234'567'890 + sequence * 402'113,
                               .bytesOut = 9'876'543'210 + sequence * 98'211,
                               .errorsIn = 0,
                               .errorsOut = 0,
                               .internetConnected = true};
    ProcessMetrics processes{.topCPU = std::vector<ProcessMetricInfo>{},
                             .topMemory = std::vector<ProcessMetricInfo>{},
                             .topNetwork = std::vector<ProcessNetworkInfo>{},
                             .topDisk = std::vector<ProcessDiskInfo>{},
                             .processCount = 412 + sequence % 9};
    // Each top list carries only the figure it is ranked by, as the process collector fills it.
    for (int i = 0; i < 20; ++i) {
        const int64_t pid = 1200 + i * 211;
        processes.topCPU->push_back({.pid = pid,
                                     .ppid = 1,
                                     .name = kNames[(sequence + i) % kNameCount],
                                     .cpuPercent = figure(sequence, 20 + i, 90)});
        processes.topMemory->push_back({.pid = pid + 7,
                                        .ppid = 1,
                                        .name = kNames[(i + 3) % kNameCount],
                                        .memoryMB = figure(sequence, 50 + i, 4000)});
    }
    for (int i = 0; i < 5; ++i) {
        const int64_t pid = 1200 + i * 211;
        const std::string name = kNames[(sequence + i) % kNameCount];
        processes.topNetwork->push_back({.pid = pid + 11,
                                         .name = name,
                                         .bytesIn = 1'000'000u + static_cast<uint64_t>(i) * 4096,
                                         .bytesOut = 250'000u + static_cast<uint64_t>(i) * 512});
        processes.topDisk->push_back({.pid = pid + 13,
                                      .name = name,
                                      .readBytesPerSec = figure(sequence, 60 + i, 5e6),
                                      .writeBytesPerSec = figure(sequence, 70 + i, 2e6)});
    }
    m.processes = std::move(processes);
    m.power = PowerMetrics{.onBattery = true,
                           .onAC = false,
                           .batteryPercent = 81,
                           .batteryState = "discharging",
                           .preventSleepAssertions = 2};
    m.gpu = GPUMetrics{.model = "Intel Iris Xe Graphics",
                       .coreCount = 96,
                       .deviceUtilization = 14,
                       .rendererUtilization = 12,
                       .tilerUtilization = 9,
                       .inUseMemoryBytes = 734'003'200,
                       .allocatedMemoryBytes = 1'073'741'824};
    m.system = SystemInfo{.uptimeSeconds = 273'600 + sequence * 2,
                          .uptimeHours = 76,
                          .macOSVersion = "Debian GNU/Linux 12 (bookworm)",
                          .hardwareModel = "20XW00FJGE",
                          .cpuBrand = "11th Gen Intel(R) Core(TM) i7-1185G7 @ 3.00GHz",
                          .consoleUser = "avery",
                          .performanceCores = 4,
                          .efficiencyCores = 0};
    return m;
}

WatchedProcessEvent realisticWatchedEvent(Date when, int sequence) {
    WatchedProcessEvent event;
    event.timestamp = Formatters::iso8601WithFractionalSeconds(when);
    event.hostname = kHost;
    event.watched = {.pattern = "firefox",
                     .processCount = 9,
                     .cpuPercent = figure(sequence, 80, 40),
                     .memoryMB = figure(sequence, 81, 3000),
                     .networkBytesIn = 2'048'000,
                     .networkBytesOut = 512'000,
                     .diskReadBytesPerSec = figure(sequence, 82, 1e6),
                     .diskWriteBytesPerSec = figure(sequence, 83, 1e6)};
    return event;
}

AlertEvent realisticAlertEvent(Date when) {
    AlertEvent event{.timestamp = when, .hostname = kHost};
    event.alert = {.type = "cpu_high",
                   .message = "CPU usage has been above 90% for 60 seconds",
                   .value = "96.4%",
                   .threshold = "90%",
                   .topCPUProcesses = std::vector<AlertProcessInfo>{},
                   .topMemoryProcesses = std::vector<AlertProcessInfo>{}};
    for (int i = 0; i < 5; ++i) {
        event.alert.topCPUProcesses->push_back(
            {.pid = 1200 + i, .name = kNames[i], .cpuPercent = 95.2 - i * 9.5});
        event.alert.topMemoryProcesses->push_back(
            {.pid = 1300 + i, .name = kNames[19 - i], .memoryMB = 4096.5 - i * 300});
    }
    return event;
}

}  // namespace ostrel::testing
