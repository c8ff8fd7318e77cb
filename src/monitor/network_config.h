#pragma once

#include <algorithm>
#include <vector>

#include "platform/power_source.h"

namespace ostrel::NetworkConfig {

// Whether the power source list shows a battery, as opposed to an adapter alone or nothing.
inline bool hasBatteryCapableSource(const std::vector<PowerSourceDescription>& sources) {
    return std::any_of(sources.begin(), sources.end(), [](const PowerSourceDescription& source) {
        return source.currentCapacity || source.maxCapacity || source.isCharging ||
               source.isCharged || source.state == "Battery Power";
    });
}

// How long to wait for a usable network after a wake, in seconds. A laptop's network comes
// back quickly; a machine without a battery may be waiting for slower wired or server links.
inline double networkWaitTimeout(const std::vector<PowerSourceDescription>& sources) {
    return hasBatteryCapableSource(sources) ? 15.0 : 30.0;
}

}  // namespace ostrel::NetworkConfig
