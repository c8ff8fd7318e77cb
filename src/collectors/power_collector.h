#pragma once

#include "platform/power_source.h"
#include "records/system_metrics.h"

namespace ostrel {

// Fills PowerMetrics from the power sources and the sleep assertions. Holds no state.
class PowerCollector {
  public:
    explicit PowerCollector(PowerSource& source);

    void collectBatteryInfo(PowerMetrics& metrics);
    void collectSleepAssertions(PowerMetrics& metrics);

  private:
    PowerSource& source_;
};

}  // namespace ostrel
