#include "popup/popup_builder.h"

#include <fmt/format.h>

#include "popup/popup_format.h"
#include "popup/popup_process_rows.h"
#include "records/destination.h"
#include "records/text.h"

namespace ostrel {
namespace {

PopupHeader header(const PopupInputs& inputs) {
    return {
        .title = "Ostrel",
        .statusDot = inputs.isRunning ? PopupColor::green : PopupColor::dimmedGrey,
        .settingsImage = "SettingsIcon",
        .settingsHelp = "Settings",
    };
}

std::vector<StatusRow> statusRows(const PopupInputs& inputs, const TimeOfDayFormat& timeOfDay) {
    std::vector<StatusRow> rows;
    rows.push_back({"Status:", {inputs.isRunning ? "Running" : "Stopped"}});
    if (inputs.lastCollection)
        rows.push_back({"Last collection:", {timeOfDay(*inputs.lastCollection)}});
    rows.push_back({"Collected:", {std::to_string(inputs.successCount), PopupColor::dynamicGreen}});
    if (inputs.config.uploadEnabled) {
        rows.push_back({"Pending:",
                        {std::to_string(inputs.pendingUploadCount) + " records"},
                        fmt::format("({:.1f} MB)", inputs.storageSizeMB)});
        StatusRow uploaded{"Uploaded:",
                           {std::to_string(inputs.totalUploadedCount), PopupColor::blue}};
        if (inputs.lastUploadDate) {
            uploaded.detail =
                fmt::format("({} @ {})", inputs.lastUploadCount, timeOfDay(*inputs.lastUploadDate));
        }
        rows.push_back(std::move(uploaded));
    }
    return rows;
}

std::optional<MetricCard> cpuCard(const SystemMetrics& metrics) {
    if (!metrics.cpu) return std::nullopt;
    const CPUMetrics& cpu = *metrics.cpu;
    const double percent = cpu.userPercent && cpu.systemPercent
                               ? *cpu.userPercent + *cpu.systemPercent
                               : cpu.loadPercent;
    return MetricCard{
        "CPU", fmt::format("{}%", int64_t(percent)), cpuColor(percent),
        "CPU Usage: Percentage of CPU time spent on work (user + system). Always 0-100%."};
}

std::optional<MetricCard> memoryCard(const SystemMetrics& metrics) {
    if (!metrics.memory) return std::nullopt;
    const std::optional<std::string>& pressure = metrics.memory->pressureString;
    MetricCard card{
        "Memory Pressure", "N/A", PopupColor::secondary,
        "Memory Pressure: macOS indicator of memory availability. Normal: memory is available. "
        "Warning: the system is reclaiming memory and applications may wait for it. Critical: "
        "memory is short and the system is slowing down."};
    if (pressure) {
        card.value = *pressure;
        // Capitalised: the first letter upper, the rest lower.
        for (size_t i = 0; i < card.value.size(); ++i)
            card.value[i] = i == 0 ? asciiUpper(card.value[i]) : asciiLower(card.value[i]);
        if (*pressure == "normal") card.color = PopupColor::green;
        if (*pressure == "warning") card.color = PopupColor::yellow;
        if (*pressure == "critical") card.color = PopupColor::red;
    }
    return card;
}

std::optional<MetricCard> powerCard(const SystemMetrics& metrics) {
    if (!metrics.power) return std::nullopt;
    const PowerMetrics& power = *metrics.power;
    std::string value = power.batteryPercent         ? fmt::format("{}%", *power.batteryPercent)
                        : power.onAC.value_or(false) ? "AC"
                                                     : "N/A";
    return MetricCard{"Power", std::move(value), PopupColor::blue,
                      "Power: Battery level or AC power status."};
}

std::optional<MetricCard> uptimeCard(const SystemMetrics& metrics) {
    if (!metrics.system) return std::nullopt;
    const std::optional<double>& hours = metrics.system->uptimeHours;
    return MetricCard{"Uptime", hours ? PopupFormat::formatUptime(*hours) : "N/A",
                      PopupColor::purple, "Uptime: Time since last system restart."};
}

std::optional<MetricsSection> metricsSection(const PopupInputs& inputs,
                                             ProcessAggregator& aggregator) {
    if (inputs.config.minimalUI || !inputs.lastMetrics) return std::nullopt;
    const SystemMetrics& metrics = *inputs.lastMetrics;
    MetricsSection section{
        .heading = "Current Metrics",
        .cards = {cpuCard(metrics), memoryCard(metrics), powerCard(metrics), uptimeCard(metrics)},
    };
    if (!metrics.processes) return section;
    const auto& top = *metrics.processes;
    if (top.topCPU && !top.topCPU->empty()) {
        section.topCPU = PopupProcessRows::processList(
            inputs, aggregator, "Top CPU",
            "Top CPU: Processes using the most CPU. Values can exceed 100% when using multiple "
            "cores.",
            *top.topCPU, ProcessValueType::cpu);
    }
    if (top.topMemory && !top.topMemory->empty()) {
        section.topMemory = PopupProcessRows::processList(
            inputs, aggregator, "Top Memory",
            "Top Memory: Processes using the most RAM (resident memory).", *top.topMemory,
            ProcessValueType::memory);
    }
    return section;
}

ControlsSection controls(const PopupInputs& inputs) {
    ControlsSection section;
    if (inputs.isRunning) {
        section.startStop = {"Stop Collection", "stop.fill", PopupColor::red};
    } else {
        section.startStop = {"Start Collection", "play.fill", PopupColor::green};
        if (!hasValidDestination(inputs.config)) {
            section.startStop.enabled = false;
            section.startStop.help = "Configure storage or upload in Settings first";
        }
    }
    if (inputs.config.uploadEnabled) {
        section.upload = inputs.isUploading
                             ? PopupButton{"Uploading...", "", PopupColor::primary, false, true}
                             : PopupButton{"Upload Now", "icloud.and.arrow.up"};
    }
    section.dashboard = {"Open Dashboard", "chart.xyaxis.line"};
    return section;
}

PopupFooter footer(const MonitorConfig& config) {
    if (!hasValidDestination(config)) {
        return {"exclamationmark.triangle.fill",
                "Configure Storage or Upload in Settings to start"};
    }
    std::string text = fmt::format("Interval: {}s", config.intervalSeconds);
    if (config.uploadEnabled) text += fmt::format(" · Upload: {}m", config.uploadIntervalMinutes);
    return {"", std::move(text)};
}

}  // namespace

PopupColor cpuColor(double percent) {
    if (percent < 50) return PopupColor::green;
    if (percent < 80) return PopupColor::yellow;
    return PopupColor::red;
}

PopupContent buildPopupContent(const PopupInputs& inputs, ProcessAggregator& aggregator,
                               const TimeOfDayFormat& timeOfDay) {
    PopupContent content{
        .header = header(inputs),
        .status = statusRows(inputs, timeOfDay),
        .error = inputs.lastError,
        .metrics = metricsSection(inputs, aggregator),
        .search = PopupProcessRows::searchSection(inputs),
        .controls = controls(inputs),
        .footer = footer(inputs.config),
    };
    if (!inputs.pinnedProcesses.empty()) content.watched = PopupProcessRows::watchedSection(inputs);
    return content;
}

}  // namespace ostrel
