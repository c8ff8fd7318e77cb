#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/clock.h"

namespace ostrel {

// Identity of a point or snapshot for a view's lists: new for each one made, unique within the
// process, which is all a view's diffing needs.
using ChartId = uint64_t;
ChartId newChartId();

// The processes at one moment of a series, for its tooltip.
struct ProcessSnapshot {
    ChartId id = newChartId();
    int64_t pid = 0;
    std::string name;
    double cpu = 0;  // percent of one core
    double memoryMB = 0;
    int64_t cpuCores = 0;  // of the sample, for showing `cpu` as a share of the machine
};

struct NetworkProcessSnapshot {
    ChartId id = newChartId();
    int64_t pid = 0;
    std::string name;
    uint64_t bytesIn = 0;
    uint64_t bytesOut = 0;
};

struct DiskProcessSnapshot {
    ChartId id = newChartId();
    int64_t pid = 0;
    std::string name;
    double readBytesPerSec = 0;
    double writeBytesPerSec = 0;
};

// Part of the point's record for GPU series, but nothing fills it: the samples carry no
// per-process GPU time that the dashboard charts.
struct GPUProcessSnapshot {
    ChartId id = newChartId();
    int64_t pid = 0;
    std::string name;
    uint64_t gpuTimeNs = 0;
};

// An attached list: null when the point has none. Shared and immutable, so that copying a
// point into a reduced series copies no list.
template <class Snapshot>
using SnapshotList = std::shared_ptr<const std::vector<Snapshot>>;

// One point of a series.
struct ChartPoint {
    ChartId id = newChartId();
    Date date;
    double value = 0;
    std::string label;  // the series' name, as its legend shows it
    SnapshotList<ProcessSnapshot> topProcesses;
    SnapshotList<GPUProcessSnapshot> topGPUProcesses;
    SnapshotList<NetworkProcessSnapshot> topNetworkProcesses;
    SnapshotList<DiskProcessSnapshot> topDiskProcesses;
};

using ChartSeries = std::vector<ChartPoint>;

// Seconds since 1970, the unit of the reductions' arithmetic.
inline double epochSeconds(Date date) {
    return std::chrono::duration<double>(date.time_since_epoch()).count();
}

}  // namespace ostrel
