// Process analysis and the figures derived from the shown data.
#include <algorithm>
#include <numeric>

#include "dashboard/dashboard_view_model.h"

namespace ostrel {

void DashboardViewModel::selectProcess(const std::optional<std::string>& pattern) {
    selectedProcess.set(pattern);
    if (!pattern) {
        processSearch_ = {};
        zoomProcess_ = {};
        sendChange();
        return;
    }
    // The whole series are kept unreduced; the shown ones follow the zoom.
    processSearch_ = buildProcessSeries(watched_, *pattern);
    for (const auto member : ProcessSeries::kAll)
        zoomProcess_.*member = filterByZoom(processSearch_.*member);
    sendChange();
}

std::vector<std::string> DashboardViewModel::availableProcessPatterns() const {
    return ostrel::availableProcessPatterns(watched_);
}

ChartSeries DashboardViewModel::processSearchCPUData() const {
    if (!normalizeCPU.get()) return zoomProcess_.cpu;
    return normalizedCPU(zoomProcess_.cpu, normalizationCoreCount());
}

std::optional<double> DashboardViewModel::avgMemoryUsedGB() const {
    return isZoomActive() ? zoomSummary_.avgMemoryUsedGB : cached_.avgMemoryUsedGB;
}

std::optional<double> DashboardViewModel::peakMemoryUsedGB() const {
    return isZoomActive() ? zoomSummary_.peakMemoryUsedGB : cached_.peakMemoryUsedGB;
}

int64_t DashboardViewModel::thermalWarningCount() const {
    return isZoomActive() ? zoomSummary_.thermalWarningCount : cached_.thermalWarningCount;
}

int64_t DashboardViewModel::memoryPressureEventCount() const {
    return isZoomActive() ? zoomSummary_.memoryPressureEventCount
                          : cached_.memoryPressureEventCount;
}

std::optional<std::pair<double, Date>> DashboardViewModel::peakCpuUsage() const {
    const ChartSeries& usage = isZoomActive() ? zoomSeries_.cpuUsage : cached_.series.cpuUsage;
    // max_element keeps the first of equals.
    const auto peak = std::max_element(
        usage.begin(), usage.end(), [](const auto& a, const auto& b) { return a.value < b.value; });
    if (peak == usage.end()) return std::nullopt;
    return std::pair(peak->value, peak->date);
}

namespace {

int64_t bytesOf(const ChartSeries& megabytes) {
    const double sum = std::accumulate(megabytes.begin(), megabytes.end(), 0.0,
                                       [](double total, const auto& p) { return total + p.value; });
    return static_cast<int64_t>(sum * 1024 * 1024);
}

}  // namespace

int64_t DashboardViewModel::totalNetworkBytesIn() const {
    return bytesOf(isZoomActive() ? zoomSeries_.networkIn : cached_.series.networkIn);
}

int64_t DashboardViewModel::totalNetworkBytesOut() const {
    return bytesOf(isZoomActive() ? zoomSeries_.networkOut : cached_.series.networkOut);
}

std::optional<ProcessAggregate> DashboardViewModel::topCpuConsumer() const {
    const auto& top = isZoomActive() ? zoomTopCPU_ : cached_.topCPU;
    if (top.empty()) return std::nullopt;
    return top.front();
}

ChartSeries DashboardViewModel::cachedMemoryUsedData() const {
    // The three series were reduced apart, so one point may add neighbouring samples' values.
    const ChartSeries &active = zoomSeries_.memoryActive, &wired = zoomSeries_.memoryWired,
                      &compressed = zoomSeries_.memoryCompressed;
    const size_t count = std::min({active.size(), wired.size(), compressed.size()});
    ChartSeries used;
    used.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        used.push_back(ChartPoint{.date = active[i].date,
                                  .value = active[i].value + wired[i].value + compressed[i].value,
                                  .label = "Used"});
    }
    return used;
}

}  // namespace ostrel
