#include "dashboard/chart_sample.h"

#include "dashboard/dashboard_dates.h"

namespace ostrel {
namespace {

std::optional<std::vector<CompactProcess>> compactRows(
    std::optional<std::vector<ProcessMetricInfo>>&& rows) {
    if (!rows) return std::nullopt;
    std::vector<CompactProcess> kept;
    kept.reserve(rows->size());
    for (ProcessMetricInfo& row : *rows) {
        kept.push_back(
            {row.pid, std::move(row.name), row.cpuPercent.value_or(0), row.memoryMB.value_or(0)});
    }
    return kept;
}

}  // namespace

ChartSample ChartSample::from(SystemMetrics&& metrics,
                              const std::shared_ptr<const SystemInfo>& sharedSystem) {
    ChartSample sample;
    sample.date = parseTimestamp(metrics.timestamp);
    sample.timestamp = std::move(metrics.timestamp);
    sample.hostname = std::move(metrics.hostname);
    if (auto& cpu = metrics.cpu) {
        sample.cpu = Cpu{cpu->cpuCount,    cpu->userPercent,  cpu->systemPercent,
                         cpu->idlePercent, cpu->thermalLevel, std::move(cpu->thermalState)};
    }
    if (auto& memory = metrics.memory) {
        sample.memory = Memory{memory->totalMB,       memory->freeMB,
                               memory->activeMB,      memory->wiredMB,
                               memory->compressedMB,  memory->swapUsedMB,
                               memory->pressureLevel, std::move(memory->pressureString)};
    }
    if (const auto& disk = metrics.disk) {
        sample.diskReadKBPerSec = disk->readKBPerSec;
        sample.diskWriteKBPerSec = disk->writeKBPerSec;
        sample.diskFreeGB = disk->freeGB;
    }
    if (const auto& network = metrics.network) {
        sample.networkBytesIn = network->bytesIn;
        sample.networkBytesOut = network->bytesOut;
    }
    if (const auto& gpu = metrics.gpu) {
        sample.gpuDeviceUtilization = gpu->deviceUtilization;
        sample.gpuRendererUtilization = gpu->rendererUtilization;
        sample.gpuTilerUtilization = gpu->tilerUtilization;
    }
    if (const auto& power = metrics.power) sample.batteryPercent = power->batteryPercent;
    if (auto& processes = metrics.processes) {
        sample.processes.topCPU = compactRows(std::move(processes->topCPU));
        sample.processes.topMemory = compactRows(std::move(processes->topMemory));
        sample.processes.topNetwork = std::move(processes->topNetwork);
        sample.processes.topDisk = std::move(processes->topDisk);
    }
    if (metrics.system) {
        sample.system = sharedSystem && *sharedSystem == *metrics.system
                            ? sharedSystem
                            : std::make_shared<const SystemInfo>(std::move(*metrics.system));
    }
    return sample;
}

bool ChartSample::operator==(const ChartSample& other) const {
    const auto sameSystem = [](const auto& a, const auto& b) {
        return a == b || (a && b && *a == *b);
    };
    return timestamp == other.timestamp && hostname == other.hostname && date == other.date &&
           cpu == other.cpu && memory == other.memory &&
           diskReadKBPerSec == other.diskReadKBPerSec &&
           diskWriteKBPerSec == other.diskWriteKBPerSec && diskFreeGB == other.diskFreeGB &&
           networkBytesIn == other.networkBytesIn && networkBytesOut == other.networkBytesOut &&
           gpuDeviceUtilization == other.gpuDeviceUtilization &&
           gpuRendererUtilization == other.gpuRendererUtilization &&
           gpuTilerUtilization == other.gpuTilerUtilization &&
           batteryPercent == other.batteryPercent && processes == other.processes &&
           sameSystem(system, other.system);
}

std::vector<ChartSample> chartSamplesOf(std::vector<SystemMetrics>&& records) {
    std::vector<ChartSample> samples;
    samples.reserve(records.size());
    std::shared_ptr<const SystemInfo> system;
    for (SystemMetrics& record : records) {
        samples.push_back(ChartSample::from(std::move(record), system));
        if (samples.back().system) system = samples.back().system;
        record = SystemMetrics();
    }
    records = {};
    return samples;
}

const std::vector<ChartSample>& ChartSamples::all() const {
    static const std::vector<ChartSample> none;
    return samples_ ? *samples_ : none;
}

}  // namespace ostrel
