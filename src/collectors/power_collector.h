#pragma once

#include "collectors/source_health.h"
#include "platform/power_source.h"
#include "records/system_metrics.h"

namespace ostrel {

// Fills PowerMetrics from the power sources and the sleep assertions. A source that fails is
// logged when it starts failing, not on every sample.
class PowerCollector {
  public:
    explicit PowerCollector(PowerSource& source);

    void collectBatteryInfo(PowerMetrics& metrics);
    void collectSleepAssertions(PowerMetrics& metrics);

  private:
    PowerSource& source_;
    SourceHealth assertionsHealth_{"Power assertions"};
};

}  // namespace ostrel
