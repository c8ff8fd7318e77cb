#include "dashboard/dashboard_figures.h"

#include "dashboard/dashboard_view_model.h"

namespace ostrel {

DashboardFigures DashboardFigures::of(const DashboardViewModel& model) {
    const CachedChartData& cached = model.cached();
    return {.avgCpuUsage = cached.avgCpuUsage,
            .peakCpuUsage = model.peakCpuUsage(),
            .cpuUsage = model.zoomFilteredSeries().cpuUsage,
            .avgMemoryUsedGB = model.avgMemoryUsedGB(),
            .peakMemoryUsedGB = model.peakMemoryUsedGB(),
            .memoryUsed = model.cachedMemoryUsedData(),
            .peakMemoryPressure = cached.peakMemoryPressure,
            .memoryPressure = model.zoomFilteredSeries().memoryPressure,
            .avgSwapUsedMB = cached.avgSwapUsedMB,
            .thermalWarningCount = model.thermalWarningCount(),
            .memoryPressureEventCount = model.memoryPressureEventCount(),
            .totalNetworkBytesIn = model.totalNetworkBytesIn(),
            .totalNetworkBytesOut = model.totalNetworkBytesOut(),
            .topCpuConsumer = model.topCpuConsumer(),
            .sourceTimezone = model.sourceTimezone.get()};
}

}  // namespace ostrel
