#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "dashboard/chart_data.h"
#include "dashboard/chart_sample.h"

namespace ostrel {

// The samples a build reads, in their order; a zoom passes those of its range.
using SampleRange = std::span<const ChartSample* const>;
std::vector<const ChartSample*> sampleRefs(const ChartSamples& samples);

// One pass over the samples: the nineteen series, each reduced to `maxPoints`, with the top
// processes of the nearest sample attached to the points that survive (never to all samples),
// the rankings, and the averages, peaks and counts of the summary. A sample whose timestamp
// does not parse adds to no series or summary, but counts in the rankings. Pure; any thread.
CachedChartData buildChartData(SampleRange samples, size_t maxPoints);

// Which process list of a sample is ranked, and by which figure.
using ProcessListField = std::optional<std::vector<CompactProcess>> ChartSample::Processes::*;
using AggregateFigure = double ProcessAggregate::*;

// Every process name of the lists with its means and peaks over all rows, ranked descending by
// `sortBy` (names that tie keep the order they were first seen in), at most 50.
std::vector<ProcessAggregate> aggregateProcesses(SampleRange samples, ProcessListField list,
                                                 AggregateFigure sortBy);

// The whole source at `maxPoints`, with its sample count, time range and latest records.
CachedChartData buildSourceChartData(const ChartSamples& samples, size_t maxPoints);

}  // namespace ostrel
