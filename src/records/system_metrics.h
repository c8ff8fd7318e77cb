#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

// One sample and its sections. Each field's JSON key and its optionality stand in the
// field tables of record_json.cpp; absent optionals are never written.

struct CPUMetrics {
    double loadAverage1m = 0;
    double loadAverage5m = 0;
    double loadAverage15m = 0;
    int64_t cpuCount = 0;
    double loadPercent = 0;
    std::optional<double> userPercent;
    std::optional<double> systemPercent;
    std::optional<double> idlePercent;
    std::optional<bool> thermalThrottle;
    std::optional<std::string> thermalState;
    std::optional<int64_t> thermalLevel;

    bool operator==(const CPUMetrics&) const = default;
};

struct MemoryMetrics {
    std::optional<double> totalMB;
    std::optional<double> freeMB;
    std::optional<double> activeMB;
    std::optional<double> inactiveMB;
    std::optional<double> wiredMB;
    std::optional<double> compressedMB;
    std::optional<int64_t> pressureLevel;
    std::optional<std::string> pressureString;
    std::optional<int64_t> pageIns;
    std::optional<int64_t> pageOuts;
    std::optional<int64_t> swapIns;
    std::optional<int64_t> swapOuts;
    std::optional<double> swapTotalMB;
    std::optional<double> swapUsedMB;
    std::optional<double> swapFreeMB;

    bool operator==(const MemoryMetrics&) const = default;
};

struct DiskMetrics {
    std::optional<double> totalGB;
    std::optional<double> usedGB;
    std::optional<double> freeGB;
    std::optional<int64_t> percentUsed;
    std::optional<double> readKBPerSec;
    std::optional<double> writeKBPerSec;
    std::optional<double> transfersPerSec;

    bool operator==(const DiskMetrics&) const = default;
};

struct NetworkMetrics {
    std::optional<std::string> interface;
    std::optional<int64_t> packetsIn;
    std::optional<int64_t> packetsOut;
    std::optional<int64_t> bytesIn;
    std::optional<int64_t> bytesOut;
    std::optional<int64_t> errorsIn;
    std::optional<int64_t> errorsOut;
    std::optional<bool> internetConnected;

    bool operator==(const NetworkMetrics&) const = default;
};

struct ProcessMetricInfo {
    int64_t pid = 0;
    std::optional<int64_t> ppid;
    std::string name;
    std::optional<double> cpuPercent;
    std::optional<double> memoryMB;
    // Held in memory for grouping and display; never encoded.
    std::optional<std::string> user;

    bool operator==(const ProcessMetricInfo&) const = default;
};

struct ProcessNetworkInfo {
    int64_t pid = 0;
    std::string name;
    uint64_t bytesIn = 0;
    uint64_t bytesOut = 0;

    bool operator==(const ProcessNetworkInfo&) const = default;
};

struct ProcessDiskInfo {
    int64_t pid = 0;
    std::string name;
    double readBytesPerSec = 0;
    double writeBytesPerSec = 0;

    bool operator==(const ProcessDiskInfo&) const = default;
};

struct ProcessMetrics {
    std::optional<std::vector<ProcessMetricInfo>> topCPU;
    std::optional<std::vector<ProcessMetricInfo>> topMemory;
    std::optional<std::vector<ProcessNetworkInfo>> topNetwork;
    std::optional<std::vector<ProcessDiskInfo>> topDisk;
    std::optional<int64_t> processCount;

    bool operator==(const ProcessMetrics&) const = default;
};

struct PowerMetrics {
    std::optional<bool> onBattery;
    std::optional<bool> onAC;
    std::optional<int64_t> batteryPercent;
    std::optional<std::string> batteryState;
    std::optional<int64_t> preventSleepAssertions;

    bool operator==(const PowerMetrics&) const = default;
};

struct GPUProcessInfo {
    int64_t pid = 0;
    std::string name;
    uint64_t accumulatedGPUTimeNs = 0;

    bool operator==(const GPUProcessInfo&) const = default;
};

struct GPUMetrics {
    std::optional<std::string> model;
    std::optional<int64_t> coreCount;
    std::optional<int64_t> deviceUtilization;
    std::optional<int64_t> rendererUtilization;
    std::optional<int64_t> tilerUtilization;
    std::optional<uint64_t> inUseMemoryBytes;
    std::optional<uint64_t> allocatedMemoryBytes;
    std::optional<std::vector<GPUProcessInfo>> topGPU;

    bool operator==(const GPUMetrics&) const = default;
};

struct SystemInfo {
    std::optional<int64_t> uptimeSeconds;
    std::optional<double> uptimeHours;
    std::optional<std::string> macOSVersion;
    std::optional<std::string> hardwareModel;
    std::optional<std::string> cpuBrand;
    std::optional<std::string> consoleUser;
    std::optional<int64_t> performanceCores;
    std::optional<int64_t> efficiencyCores;
    std::optional<int64_t> gpuCores;
    std::optional<std::string> chipDescription;

    bool operator==(const SystemInfo&) const = default;
};

// One sample: one line of a metric file.
struct SystemMetrics {
    std::string timestamp;
    std::string hostname;
    std::optional<CPUMetrics> cpu;
    std::optional<MemoryMetrics> memory;
    std::optional<DiskMetrics> disk;
    std::optional<NetworkMetrics> network;
    std::optional<ProcessMetrics> processes;
    std::optional<PowerMetrics> power;
    std::optional<GPUMetrics> gpu;
    std::optional<SystemInfo> system;

    bool operator==(const SystemMetrics&) const = default;
};

}  // namespace ostrel
