#pragma once

#include "records/monitor_config.h"

namespace ostrel {

// Where samples can go under `config`: local storage, or an upload with both an endpoint and a
// token. Nothing is tried on the network.
inline bool hasValidDestination(const MonitorConfig& config) {
    if (config.storageEnabled) return true;
    return config.uploadEnabled && !config.hecEndpoint.empty() && !config.hecToken.empty();
}

}  // namespace ostrel
