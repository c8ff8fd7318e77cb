#include "alerts/alert_text.h"

#include <fmt/format.h>

#include "records/constants.h"

namespace ostrel {
namespace {

std::string replacingAll(std::string text, std::string_view placeholder,
                         std::string_view replacement) {
    for (auto at = text.find(placeholder); at != std::string::npos;
         at = text.find(placeholder, at + replacement.size())) {
        text.replace(at, placeholder.size(), replacement);
    }
    return text;
}

}  // namespace

std::string AlertText::cpuLoad(double load) {
    return fmt::format("{:.1f}%", load);
}

std::string AlertText::pressureWord(std::optional<int64_t> level) {
    if (level == criticalPressureLevel) return "critical";
    if (level == warningPressureLevel) return "warning";
    return "normal";
}

AlertText AlertText::cpu(double load, const MonitorConfig& config) {
    AlertText text;
    text.title = config.alertCPUNotificationTitle.empty() ? std::string(Constants::Alerts::cpuTitle)
                                                          : config.alertCPUNotificationTitle;
    if (config.alertCPUNotificationBody.empty()) {
        text.body =
            fmt::format("CPU usage is at {:.1f}% (threshold: {}%)", load, config.alertCPUThreshold);
    } else {
        text.body = replacingAll(config.alertCPUNotificationBody, "{value}", cpuLoad(load));
        text.body = replacingAll(std::move(text.body), "{threshold}",
                                 fmt::format("{}%", config.alertCPUThreshold));
    }
    return text;
}

AlertText AlertText::memory(std::optional<int64_t> pressureLevel, const MonitorConfig& config) {
    const bool critical = pressureLevel == criticalPressureLevel;
    const std::string level = pressureWord(pressureLevel);
    const std::string threshold = pressureWord(config.alertMemoryPressureLevel);
    auto filled = [&](const std::string& custom) {
        std::string text = replacingAll(custom, "{value}", level);
        text = replacingAll(std::move(text), "{threshold}", threshold);
        return replacingAll(std::move(text), "{level}", level);
    };

    AlertText text;
    if (config.alertMemoryNotificationTitle.empty()) {
        text.title = critical ? Constants::Alerts::memoryCriticalTitle
                              : Constants::Alerts::memoryWarningTitle;
    } else {
        text.title = filled(config.alertMemoryNotificationTitle);
    }
    if (config.alertMemoryNotificationBody.empty()) {
        text.body = critical ? "macOS is reporting critical memory pressure. Close some "
                               "applications to free memory."
                             : "macOS is reporting elevated memory pressure. Consider closing "
                               "some applications.";
    } else {
        text.body = filled(config.alertMemoryNotificationBody);
    }
    return text;
}

}  // namespace ostrel
