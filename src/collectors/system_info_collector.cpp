#include "collectors/system_info_collector.h"

#include <fmt/format.h>

#include <chrono>
#include <string>
#include <vector>

#include "logging/logger.h"
#include "records/formatters.h"

namespace ostrel {

SystemInfoCollector::SystemInfoCollector(SystemInfoSource& source, GpuSource& gpu,
                                         const Clock& clock)
    : source_(source), gpu_(gpu), clock_(clock) {}

void SystemInfoCollector::collectUptime(SystemInfo& info) {
    const auto boot = source_.bootTimeSeconds();
    if (!boot) {
        Logger::debug("Failed to read kern.boottime", Logger::Category::collection);
        return;
    }
    const int64_t now =
        std::chrono::floor<std::chrono::seconds>(clock_.now().time_since_epoch()).count();
    info.uptimeSeconds = now - *boot;
    info.uptimeHours = roundedTo(static_cast<double>(*info.uptimeSeconds) / 3600.0, 1);
}

SystemInfo SystemInfoCollector::collect() {
    SystemInfo info;
    collectUptime(info);
    if (const auto version = source_.osVersion()) {
        info.macOSVersion = fmt::format("{}.{}.{}", version->major, version->minor, version->patch);
    }
    info.hardwareModel = source_.hardwareModel();
    info.cpuBrand = source_.cpuBrand();
    info.consoleUser = source_.consoleUser();
    info.performanceCores = source_.performanceCores();
    info.efficiencyCores = source_.efficiencyCores();
    info.gpuCores = gpu_.coreCount();
    buildChipDescription(info);
    return info;
}

void SystemInfoCollector::buildChipDescription(SystemInfo& info) {
    if (!info.cpuBrand) return;
    const int64_t performance = info.performanceCores.value_or(0);
    const int64_t efficiency = info.efficiencyCores.value_or(0);
    const int64_t total = performance + efficiency;
    std::vector<std::string> parts;
    if (total >= 1) {
        if (performance >= 1 && efficiency >= 1) {
            parts.push_back(fmt::format("{}-core CPU ({}P+{}E)", total, performance, efficiency));
        } else {
            parts.push_back(fmt::format("{}-core CPU", total));
        }
    }
    if (info.gpuCores && *info.gpuCores >= 1) {
        parts.push_back(fmt::format("{}-core GPU", *info.gpuCores));
    }
    if (parts.empty()) {
        info.chipDescription = info.cpuBrand;
    } else {
        info.chipDescription = fmt::format("{} with {}", *info.cpuBrand, fmt::join(parts, ", "));
    }
}

}  // namespace ostrel
