#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "dashboard/chart_point.h"

namespace ostrel {

// One process name over the samples of a range, as the analytics tables rank it.
struct ProcessAggregate {
    ChartId id = newChartId();
    std::string name;
    double avgCPU = 0;  // running mean over all rows of the name
    double peakCPU = 0;
    double avgMemoryMB = 0;
    double peakMemoryMB = 0;
    int64_t sampleCount = 0;   // rows seen: one per instance per sample
    int64_t eventCount = 0;    // samples in which the name occurs
    int64_t totalSamples = 0;  // samples in the range

    // Share of the samples in which the name was among the listed processes, 0 to 100.
    double presence() const;
    // "Sustained" from 75 % presence, "Recurring" from 25 %, else "Spike": how steadily the
    // process was listed, not how much it used.
    std::string_view impact() const;
};

}  // namespace ostrel
