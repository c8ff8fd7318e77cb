#include "dashboard/chart_data_builder.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "dashboard/downsample.h"
#include "records/text.h"

namespace ostrel {
namespace {

constexpr size_t kAttachedProcesses = 5;
constexpr size_t kRankedProcesses = 50;

// Series in the order of SystemSeries::kAll, with their legends.
enum Series : size_t {
    cpuUser,
    cpuSystem,
    cpuIdle,
    cpuUsage,
    memoryActive,
    memoryWired,
    memoryCompressed,
    memoryFree,
    swapUsed,
    diskRead,
    diskWrite,
    networkIn,
    networkOut,
    gpuUtilization,
    gpuRenderer,
    gpuTiler,
    battery,
    thermalState,
    memoryPressure,
    seriesCount
};
constexpr const char* kLabels[seriesCount] = {
    "User",     "System",    "Idle",    "CPU Usage", "Active",  "Wired", "Compressed",
    "Free",     "Swap Used", "Read",    "Write",     "In",      "Out",   "Utilization",
    "Renderer", "Tiler",     "Battery", "Thermal",   "Pressure"};

// A series before reduction: which sample each point came from, its time and value. Only the
// points that survive become ChartPoints.
struct RawSeries {
    std::vector<size_t> samples;
    std::vector<double> times;
    std::vector<double> values;

    void reserve(size_t n) {
        samples.reserve(n);
        times.reserve(n);
        values.reserve(n);
    }
    void add(size_t sample, double time, double value) {
        samples.push_back(sample);
        times.push_back(time);
        values.push_back(value);
    }
};

struct Mean {
    double sum = 0;
    int64_t count = 0;

    void add(double value) {
        sum += value;
        ++count;
    }
    std::optional<double> value() const {
        if (count == 0) return std::nullopt;
        return sum / static_cast<double>(count);
    }
};

// Keeps the most severe state seen, by a table of known states; unknown states never count
// and the first of equal severity stays.
class PeakState {
  public:
    explicit PeakState(std::initializer_list<std::pair<std::string_view, int>> severities)
        : severities_(severities) {}

    void see(const std::string& lowered) {
        const auto known = std::find_if(severities_.begin(), severities_.end(),
                                        [&](const auto& entry) { return entry.first == lowered; });
        if (known == severities_.end() || known->second <= severity_) return;
        severity_ = known->second;
        text_ = lowered;
        text_[0] = asciiUpper(text_[0]);
    }
    const std::string& text() const { return text_; }

  private:
    std::vector<std::pair<std::string_view, int>> severities_;
    int severity_ = 0;
    std::string text_ = "Unknown";
};

template <class Snapshot, class Row, class Make>
SnapshotList<Snapshot> snapshotsOf(const std::optional<std::vector<Row>>& rows, Make make) {
    if (!rows) return nullptr;
    auto list = std::make_shared<std::vector<Snapshot>>();
    const size_t count = std::min(rows->size(), kAttachedProcesses);
    list->reserve(count);
    for (size_t i = 0; i < count; ++i)
        list->push_back(make((*rows)[i]));
    return list;
}

// Puts the nearest sample's processes on each point of the series that take them.
void attachProcesses(SystemSeries& series, SampleRange samples, const std::vector<double>& times) {
    const auto nearest = [&](const ChartPoint& point) -> const ChartSample& {
        return *samples[nearestIndex(times, epochSeconds(point.date))];
    };
    const auto byCPU = [](const ChartSample& sample) {
        const int64_t cores = sample.cpu ? sample.cpu->cpuCount : kFallbackCpuCores;
        return snapshotsOf<ProcessSnapshot>(sample.processes.topCPU, [&](const CompactProcess& p) {
            return ProcessSnapshot{.pid = p.pid,
                                   .name = p.name,
                                   .cpu = p.cpuPercent,
                                   .memoryMB = p.memoryMB,
                                   .cpuCores = cores};
        });
    };
    const auto byMemory = [](const ChartSample& sample) {
        const int64_t cores = sample.cpu ? sample.cpu->cpuCount : kFallbackCpuCores;
        return snapshotsOf<ProcessSnapshot>(sample.processes.topMemory,
                                            [&](const CompactProcess& p) {
                                                return ProcessSnapshot{.pid = p.pid,
                                                                       .name = p.name,
                                                                       .cpu = p.cpuPercent,
                                                                       .memoryMB = p.memoryMB,
                                                                       .cpuCores = cores};
                                            });
    };
    const auto byNetwork = [](const ChartSample& sample) {
        return snapshotsOf<NetworkProcessSnapshot>(
            sample.processes.topNetwork, [](const ProcessNetworkInfo& p) {
                return NetworkProcessSnapshot{
                    .pid = p.pid, .name = p.name, .bytesIn = p.bytesIn, .bytesOut = p.bytesOut};
            });
    };
    const auto byDisk = [](const ChartSample& sample) {
        return snapshotsOf<DiskProcessSnapshot>(
            sample.processes.topDisk, [](const ProcessDiskInfo& p) {
                return DiskProcessSnapshot{.pid = p.pid,
                                           .name = p.name,
                                           .readBytesPerSec = p.readBytesPerSec,
                                           .writeBytesPerSec = p.writeBytesPerSec};
            });
    };
    for (ChartSeries* cpu : {&series.cpuUser, &series.cpuUsage}) {
        for (ChartPoint& point : *cpu)
            point.topProcesses = byCPU(nearest(point));
    }
    for (ChartPoint& point : series.memoryActive)
        point.topProcesses = byMemory(nearest(point));
    for (ChartSeries* network : {&series.networkIn, &series.networkOut}) {
        for (ChartPoint& point : *network)
            point.topNetworkProcesses = byNetwork(nearest(point));
    }
    for (ChartSeries* disk : {&series.diskRead, &series.diskWrite}) {
        for (ChartPoint& point : *disk)
            point.topDiskProcesses = byDisk(nearest(point));
    }
}

}  // namespace

SystemSeries SystemSeries::downsampled(size_t maxPoints) const {
    SystemSeries reduced;
    for (const auto member : kAll)
        reduced.*member = downsample(this->*member, maxPoints);
    return reduced;
}

std::vector<const ChartSample*> sampleRefs(const ChartSamples& samples) {
    std::vector<const ChartSample*> refs;
    refs.reserve(samples.size());
    for (const ChartSample& sample : samples)
        refs.push_back(&sample);
    return refs;
}

CachedChartData buildChartData(SampleRange samples, size_t maxPoints) {
    CachedChartData data;
    if (samples.empty()) return data;
    const size_t n = samples.size();

    RawSeries raw[seriesCount];
    for (RawSeries& series : raw)
        series.reserve(n);
    std::vector<double> times(n, 0.0);
    Mean idle, usage, swap, batteryLevel, gpu, diskFree, memoryUsed;
    double peakMemoryUsed = 0;
    PeakState peakThermal({{"critical", 4}, {"serious", 3}, {"fair", 2}, {"nominal", 1}});
    PeakState peakPressure({{"critical", 3}, {"warning", 2}, {"normal", 1}});

    for (size_t i = 0; i < n; ++i) {
        const ChartSample& sample = *samples[i];
        if (!sample.date) continue;
        const double t = epochSeconds(*sample.date);
        times[i] = t;
        const auto add = [&](Series series, double value) { raw[series].add(i, t, value); };

        if (const auto& cpu = sample.cpu) {
            if (cpu->userPercent) add(cpuUser, *cpu->userPercent);
            if (cpu->systemPercent) add(cpuSystem, *cpu->systemPercent);
            if (cpu->idlePercent) {
                add(cpuIdle, *cpu->idlePercent);
                idle.add(*cpu->idlePercent);
            }
            if (cpu->userPercent && cpu->systemPercent) {
                const double sum = *cpu->userPercent + *cpu->systemPercent;
                add(cpuUsage, sum);
                usage.add(sum);
            }
            if (cpu->thermalLevel) add(thermalState, static_cast<double>(*cpu->thermalLevel));
            if (cpu->thermalState) {
                const std::string lowered = asciiLowered(*cpu->thermalState);
                peakThermal.see(lowered);
                if (lowered != "nominal") ++data.thermalWarningCount;
            }
        }
        if (const auto& memory = sample.memory) {
            if (memory->activeMB) add(memoryActive, *memory->activeMB / 1024);
            if (memory->wiredMB) add(memoryWired, *memory->wiredMB / 1024);
            if (memory->compressedMB) add(memoryCompressed, *memory->compressedMB / 1024);
            if (memory->freeMB) add(memoryFree, *memory->freeMB / 1024);
            if (memory->swapUsedMB) {
                add(swapUsed, *memory->swapUsedMB);
                swap.add(*memory->swapUsedMB);
            }
            if (memory->pressureLevel) {
                add(memoryPressure, static_cast<double>(*memory->pressureLevel));
            }
            if (memory->pressureString) {
                const std::string lowered = asciiLowered(*memory->pressureString);
                peakPressure.see(lowered);
                if (lowered != "normal") ++data.memoryPressureEventCount;
            }
            const double used = (memory->activeMB.value_or(0) + memory->wiredMB.value_or(0) +
                                 memory->compressedMB.value_or(0)) /
                                1024;
            memoryUsed.add(used);
            peakMemoryUsed = std::max(peakMemoryUsed, used);
        }
        if (sample.diskReadKBPerSec) add(diskRead, *sample.diskReadKBPerSec);
        if (sample.diskWriteKBPerSec) add(diskWrite, *sample.diskWriteKBPerSec);
        if (sample.diskFreeGB) diskFree.add(*sample.diskFreeGB);
        constexpr double kBytesPerMB = 1024.0 * 1024.0;
        if (sample.networkBytesIn) {
            add(networkIn, static_cast<double>(*sample.networkBytesIn) / kBytesPerMB);
        }
        if (sample.networkBytesOut) {
            add(networkOut, static_cast<double>(*sample.networkBytesOut) / kBytesPerMB);
        }
        if (const auto device = sample.gpuDeviceUtilization) {
            add(gpuUtilization, static_cast<double>(*device));
            gpu.add(static_cast<double>(*device));
            if (sample.gpuRendererUtilization) {
                add(gpuRenderer, static_cast<double>(*sample.gpuRendererUtilization));
            }
            if (sample.gpuTilerUtilization) {
                add(gpuTiler, static_cast<double>(*sample.gpuTilerUtilization));
            }
        }
        if (sample.batteryPercent) {
            add(battery, static_cast<double>(*sample.batteryPercent));
            batteryLevel.add(static_cast<double>(*sample.batteryPercent));
        }
    }

    for (size_t s = 0; s < seriesCount; ++s) {
        ChartSeries& series = data.series.*SystemSeries::kAll[s];
        const std::vector<size_t> kept = downsampleIndices(raw[s].times, raw[s].values, maxPoints);
        series.reserve(kept.size());
        for (const size_t k : kept) {
            series.push_back(ChartPoint{.date = *samples[raw[s].samples[k]]->date,
                                        .value = raw[s].values[k],
                                        .label = kLabels[s]});
        }
    }
    attachProcesses(data.series, samples, times);

    data.topCPU =
        aggregateProcesses(samples, &ChartSample::Processes::topCPU, &ProcessAggregate::avgCPU);
    data.topMemory = aggregateProcesses(samples, &ChartSample::Processes::topMemory,
                                        &ProcessAggregate::avgMemoryMB);
    data.avgCpuIdle = idle.value();
    data.avgCpuUsage = usage.value();
    data.peakThermalState = peakThermal.text();
    data.peakMemoryPressure = peakPressure.text();
    data.avgSwapUsedMB = swap.value();
    data.avgBatteryPercent = batteryLevel.value();
    data.avgGpuUtilization = gpu.value();
    data.avgDiskFreeGB = diskFree.value();
    data.avgMemoryUsedGB = memoryUsed.value();
    if (peakMemoryUsed > 0) data.peakMemoryUsedGB = peakMemoryUsed;
    return data;
}

std::vector<ProcessAggregate> aggregateProcesses(SampleRange samples, ProcessListField list,
                                                 AggregateFigure sortBy) {
    std::vector<ProcessAggregate> found;
    std::vector<size_t> lastSample;  // of each aggregate: samples come in order, so this
                                     // tells whether the name was seen in this one already
    std::unordered_map<std::string_view, size_t> byName;
    const auto total = static_cast<int64_t>(samples.size());
    for (size_t i = 0; i < samples.size(); ++i) {
        const auto& rows = samples[i]->processes.*list;
        if (!rows) continue;
        for (const CompactProcess& row : *rows) {
            const double cpu = row.cpuPercent, memory = row.memoryMB;
            const auto [entry, isNew] = byName.try_emplace(row.name, found.size());
            if (isNew) {
                found.push_back({.name = row.name,
                                 .avgCPU = cpu,
                                 .peakCPU = cpu,
                                 .avgMemoryMB = memory,
                                 .peakMemoryMB = memory,
                                 .sampleCount = 1,
                                 .eventCount = 1,
                                 .totalSamples = total});
                lastSample.push_back(i);
                continue;
            }
            ProcessAggregate& aggregate = found[entry->second];
            const auto c = static_cast<double>(aggregate.sampleCount);
            aggregate.avgCPU = (cpu + aggregate.avgCPU * c) / (c + 1);
            aggregate.avgMemoryMB = (memory + aggregate.avgMemoryMB * c) / (c + 1);
            aggregate.peakCPU = std::max(aggregate.peakCPU, cpu);
            aggregate.peakMemoryMB = std::max(aggregate.peakMemoryMB, memory);
            ++aggregate.sampleCount;
            if (lastSample[entry->second] != i) {
                ++aggregate.eventCount;
                lastSample[entry->second] = i;
            }
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [&](const auto& a, const auto& b) { return a.*sortBy > b.*sortBy; });
    if (found.size() > kRankedProcesses) found.resize(kRankedProcesses);
    return found;
}

CachedChartData buildSourceChartData(const ChartSamples& samples, size_t maxPoints) {
    CachedChartData data = buildChartData(sampleRefs(samples), maxPoints);
    data.sampleCount = static_cast<int64_t>(samples.size());
    if (samples.empty()) return data;
    const auto withSystem = std::find_if(samples.all().rbegin(), samples.all().rend(),
                                         [](const ChartSample& s) { return s.system != nullptr; });
    data.latestMetrics = CompactMetric::from(
        withSystem != samples.all().rend() ? *withSystem : samples.back(), true);
    data.lastMetrics = CompactMetric::from(samples.back(), true);
    if (samples.front().date && samples.back().date) {
        data.timeRangeStartDate = samples.front().date;
        data.timeRangeEndDate = samples.back().date;
    }
    return data;
}

}  // namespace ostrel
