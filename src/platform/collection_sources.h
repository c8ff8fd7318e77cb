#pragma once

#include <memory>

#include "platform/clock.h"
#include "platform/cpu_source.h"
#include "platform/disk_source.h"
#include "platform/gpu_source.h"
#include "platform/memory_source.h"
#include "platform/network_source.h"
#include "platform/power_source.h"
#include "platform/system_info_source.h"

namespace ostrel {

// Everything a sample reads from the machine, apart from the process list. Each source must be
// safe to call from two threads at once.
struct CollectionSources {
    std::unique_ptr<CpuSource> cpu;
    std::unique_ptr<MemorySource> memory;
    std::unique_ptr<DiskSource> disk;
    std::unique_ptr<NetworkSource> network;
    std::unique_ptr<PowerSource> power;
    std::unique_ptr<GpuSource> gpu;
    std::unique_ptr<SystemInfoSource> system;
};

// The sources of this machine, implemented per platform. `clock` must outlive them.
CollectionSources makePlatformCollectionSources(const Clock& clock);

}  // namespace ostrel
