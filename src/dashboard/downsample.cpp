#include "dashboard/downsample.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ostrel {

std::vector<size_t> downsampleIndices(std::span<const double> times, std::span<const double> values,
                                      size_t maxPoints) {
    const size_t n = times.size();
    std::vector<size_t> kept;
    if (n <= maxPoints || maxPoints < 2) {
        kept.resize(n);
        std::iota(kept.begin(), kept.end(), size_t{0});
        return kept;
    }
    kept.reserve(maxPoints);
    kept.push_back(0);
    const double every = static_cast<double>(n - 2) / static_cast<double>(maxPoints - 2);
    const auto edge = [&](size_t bucket) {
        return static_cast<size_t>(std::trunc(every * static_cast<double>(bucket))) + 1;
    };
    size_t a = 0;
    for (size_t i = 0; maxPoints > 2 && i < maxPoints - 2; ++i) {
        const size_t start = edge(i);
        const size_t end = std::min(edge(i + 1), n - 1);
        if (start >= end) continue;

        // The next bucket's mean, or the last point where it is empty.
        const size_t nextEnd = std::min(edge(i + 2), n);
        double avgX = times[n - 1], avgY = values[n - 1];
        if (nextEnd > end) {
            double sumX = 0, sumY = 0;
            for (size_t j = end; j < nextEnd; ++j) {
                sumX += times[j];
                sumY += values[j];
            }
            const auto count = static_cast<double>(nextEnd - end);
            avgX = sumX / count;
            avgY = sumY / count;
        }

        const double aX = times[a], aY = values[a];
        double maxArea = -1;
        size_t chosen = start;
        for (size_t j = start; j < end; ++j) {
            // Twice the triangle's area; the half does not change which is largest.
            const double area =
                std::abs((aX - avgX) * (values[j] - aY) - (avgY - aY) * (aX - times[j]));
            if (area > maxArea) {
                maxArea = area;
                chosen = j;
            }
        }
        kept.push_back(chosen);
        a = chosen;
    }
    kept.push_back(n - 1);
    return kept;
}

ChartSeries downsample(const ChartSeries& points, size_t maxPoints) {
    if (points.size() <= maxPoints || maxPoints < 2) return points;
    std::vector<double> times(points.size()), values(points.size());
    for (size_t i = 0; i < points.size(); ++i) {
        times[i] = epochSeconds(points[i].date);
        values[i] = points[i].value;
    }
    ChartSeries out;
    out.reserve(maxPoints);
    for (const size_t i : downsampleIndices(times, values, maxPoints))
        out.push_back(points[i]);
    return out;
}

size_t nearestIndex(std::span<const double> times, double target) {
    const size_t n = times.size();
    if (n <= 1) return 0;
    size_t lo = 0, hi = n - 1;
    while (lo < hi) {
        const size_t mid = (lo + hi) / 2;
        if (times[mid] < target) {
            lo = mid + 1;
        } else {
            hi = mid;
        }
    }
    if (lo >= 1 && std::abs(times[lo - 1] - target) < std::abs(times[lo] - target)) return lo - 1;
    return lo;
}

}  // namespace ostrel
