#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "dashboard/chart_point.h"

namespace ostrel {

// Largest-Triangle-Three-Buckets over points given as times (seconds) and values: keeps the
// first and last point and, from each of maxPoints - 2 buckets between them, the point that
// spans the largest triangle with the point kept before it and the mean of the next bucket;
// of equal areas the first wins. Gives the indices kept, ascending: all of them when there are
// no more than maxPoints or maxPoints is below 2. An empty bucket adds nothing, so the result
// may fall short of maxPoints.
std::vector<size_t> downsampleIndices(std::span<const double> times, std::span<const double> values,
                                      size_t maxPoints);

// The same over a series. Every point kept is a real point, copied whole with its identity and
// lists: nothing is averaged, so peaks survive.
ChartSeries downsample(const ChartSeries& points, size_t maxPoints);

// The index of the time nearest to `target` in ascending `times`; the later of two equally
// near wins. 0 for fewer than two times.
size_t nearestIndex(std::span<const double> times, double target);

}  // namespace ostrel
