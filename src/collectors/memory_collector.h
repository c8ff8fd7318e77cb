#pragma once

#include "platform/memory_source.h"
#include "records/system_metrics.h"

namespace ostrel {

// Fills MemoryMetrics from one memory snapshot. Holds no state of its own.
class MemoryCollector {
  public:
    explicit MemoryCollector(MemorySource& source);

    MemoryMetrics collect();

  private:
    MemorySource& source_;
};

}  // namespace ostrel
