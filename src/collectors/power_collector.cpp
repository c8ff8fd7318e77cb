#include "collectors/power_collector.h"

#include <string_view>

#include "logging/logger.h"

namespace ostrel {
namespace {

bool holdsSleepOff(std::string_view name) {
    return name.find("PreventUserIdleSystemSleep") != std::string_view::npos ||
           name.find("PreventSystemSleep") != std::string_view::npos ||
           name.find("PreventUserIdleDisplaySleep") != std::string_view::npos;
}

}  // namespace

PowerCollector::PowerCollector(PowerSource& source) : source_(source) {}

void PowerCollector::collectBatteryInfo(PowerMetrics& metrics) {
    // Later sources overwrite earlier ones, field by field.
    for (const PowerSourceDescription& source : source_.powerSources()) {
        if (source.state) {
            metrics.onBattery = *source.state == "Battery Power";
            metrics.onAC = *source.state == "AC Power";
        }
        if (source.currentCapacity && source.maxCapacity && *source.maxCapacity >= 1) {
            metrics.batteryPercent = *source.currentCapacity * 100 / *source.maxCapacity;
        }
        if (source.isCharging) {
            if (*source.isCharging) {
                metrics.batteryState = "charging";
            } else {
                metrics.batteryState = source.isCharged.value_or(false) ? "charged" : "discharging";
            }
        }
    }
}

void PowerCollector::collectSleepAssertions(PowerMetrics& metrics) {
    const auto assertions = source_.sleepAssertions();
    if (assertionsHealth_.startsFailing(!assertions)) {
        Logger::debug("Failed to get power assertions", Logger::Category::collection);
    }
    if (!assertions) return;
    int64_t total = 0;
    for (const SleepAssertion& assertion : *assertions) {
        if (assertion.count >= 1 && holdsSleepOff(assertion.name)) total += assertion.count;
    }
    metrics.preventSleepAssertions = total;
}

}  // namespace ostrel
