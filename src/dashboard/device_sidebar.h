#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dashboard/compact_metric.h"

namespace ostrel {

struct SidebarInfoRow {
    std::string label;
    std::string value;

    bool operator==(const SidebarInfoRow&) const = default;
};

struct SidebarSection {
    std::string title;
    std::vector<SidebarInfoRow> rows;

    bool operator==(const SidebarSection&) const = default;
};

// What the device sidebar reads.
struct DeviceSidebarInput {
    std::optional<CompactMetric> latestMetrics;
    int64_t sampleCount = 0;
    std::string timeRange;
    std::optional<std::string> externalSourcePath;
    std::vector<std::string> multipleHostnames;
};

// What it shows. Without `latestMetrics` only "No device info".
struct DeviceSidebarContent {
    bool hasDeviceInfo = false;
    std::string icon;   // "desktopcomputer" or "externaldrive.fill"
    std::string title;  // "Device" or "External"
    std::optional<std::string> externalSourcePath;
    std::optional<std::string> machineCount;  // "3 machines" with a host selector
    std::string hostname;
    std::string sampleCount;
    std::string timeRange;
    std::vector<SidebarSection> sections;  // "Hardware", "System"

    bool operator==(const DeviceSidebarContent&) const = default;
};

DeviceSidebarContent deviceSidebar(const DeviceSidebarInput& input);

// "0m", "1h 1m", "1d 1h".
std::string formatUptime(int64_t seconds);

}  // namespace ostrel
