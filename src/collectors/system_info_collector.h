#pragma once

#include "platform/clock.h"
#include "platform/gpu_source.h"
#include "platform/system_info_source.h"
#include "records/system_metrics.h"

namespace ostrel {

// Fills SystemInfo: uptime, OS version, model, processor, console user, core counts and the
// chip description built from them. Holds no state.
class SystemInfoCollector {
  public:
    SystemInfoCollector(SystemInfoSource& source, GpuSource& gpu, const Clock& clock);

    SystemInfo collect();

    // "<brand> with 12-core CPU (8P+4E), 30-core GPU", or the brand alone when nothing is known
    // of its cores.
    static void buildChipDescription(SystemInfo& info);

  private:
    void collectUptime(SystemInfo& info);

    SystemInfoSource& source_;
    GpuSource& gpu_;
    const Clock& clock_;
};

}  // namespace ostrel
