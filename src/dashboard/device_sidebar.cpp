#include "dashboard/device_sidebar.h"

#include <fmt/format.h>

#include <cmath>

namespace ostrel {
namespace {

std::string coresText(const CompactMetric& metric) {
    std::string text = fmt::format("{} cores", *metric.cpuCount);
    if (metric.system && metric.system->performanceCores && metric.system->efficiencyCores) {
        text += fmt::format(" ({}P + {}E)", *metric.system->performanceCores,
                            *metric.system->efficiencyCores);
    }
    return text;
}

std::vector<SidebarInfoRow> hardwareRows(const CompactMetric& metric) {
    std::vector<SidebarInfoRow> rows;
    const auto& system = metric.system;
    if (system && (system->chipDescription || system->cpuBrand))
        rows.push_back({"Chip", system->chipDescription.value_or(system->cpuBrand.value_or(""))});
    if (metric.cpuCount) rows.push_back({"CPU", coresText(metric)});
    if (metric.totalMemoryMB)
        rows.push_back({"Memory", fmt::format("{:.0f} GB", *metric.totalMemoryMB / 1024)});
    if (system && system->gpuCores) {
        std::string gpu = fmt::format("{}-core", *system->gpuCores);
        if (system->hardwareModel) gpu += " " + *system->hardwareModel;
        rows.push_back({"GPU", gpu});
    }
    return rows;
}

std::vector<SidebarInfoRow> systemRows(const CompactMetric& metric) {
    std::vector<SidebarInfoRow> rows;
    if (!metric.system) return rows;
    const SystemInfo& system = *metric.system;
    if (system.macOSVersion) rows.push_back({"macOS", *system.macOSVersion});
    std::optional<int64_t> uptime = system.uptimeSeconds;
    if (!uptime && system.uptimeHours) uptime = int64_t(std::llround(*system.uptimeHours * 3600));
    if (uptime) rows.push_back({"Uptime", formatUptime(*uptime)});
    return rows;
}

}  // namespace

DeviceSidebarContent deviceSidebar(const DeviceSidebarInput& input) {
    if (!input.latestMetrics) return {};
    const CompactMetric& metric = *input.latestMetrics;
    const bool external = input.externalSourcePath.has_value();
    DeviceSidebarContent content{
        .hasDeviceInfo = true,
        .icon = external ? "externaldrive.fill" : "desktopcomputer",
        .title = external ? "External" : "Device",
        .externalSourcePath = input.externalSourcePath,
        .hostname = metric.hostname,
        .sampleCount = fmt::format("{} samples", input.sampleCount),
        .timeRange = input.timeRange,
    };
    if (!input.multipleHostnames.empty())
        content.machineCount = fmt::format("{} machines", input.multipleHostnames.size());
    content.sections = {{"Hardware", hardwareRows(metric)}, {"System", systemRows(metric)}};
    return content;
}

std::string formatUptime(int64_t seconds) {
    if (seconds >= 86400) return fmt::format("{}d {}h", seconds / 86400, seconds % 86400 / 3600);
    if (seconds >= 3600) return fmt::format("{}h {}m", seconds / 3600, seconds % 3600 / 60);
    return fmt::format("{}m", seconds / 60);
}

}  // namespace ostrel
