#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/network_source.h"
#include "records/system_metrics.h"

namespace ostrel {

// Fills NetworkMetrics: the primary interface, its raw link counters, and whether a usable
// default route exists. Holds no state of its own.
class NetworkCollector {
  public:
    // Named when nothing else qualifies, so the interface field is always present.
    static constexpr const char* fallbackInterface = "en0";

    explicit NetworkCollector(NetworkSource& source);

    NetworkMetrics collect();

    // The first entry that is up, not loopback, and named "en..."; else the first such entry
    // not named "lo...".
    static std::optional<std::string> findFirstActiveInterface(const std::vector<LinkEntry>& links);

  private:
    NetworkSource& source_;
};

}  // namespace ostrel
