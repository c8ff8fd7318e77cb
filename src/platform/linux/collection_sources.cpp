#include "platform/collection_sources.h"

#include "platform/linux/cpu.h"
#include "platform/linux/disk.h"
#include "platform/linux/gpu.h"
#include "platform/linux/memory.h"
#include "platform/linux/network.h"
#include "platform/linux/power.h"
#include "platform/linux/system_info.h"

namespace ostrel {

CollectionSources makePlatformCollectionSources(const Clock& clock) {
    return {
        .cpu = std::make_unique<LinuxCpuSource>("/proc", "/sys", clock),
        .memory = std::make_unique<LinuxMemorySource>("/proc"),
        .disk = std::make_unique<LinuxDiskSource>("/proc", "/sys", clock),
        .network = std::make_unique<LinuxNetworkSource>("/proc", clock),
        .power = std::make_unique<LinuxPowerSource>("/sys", clock),
        .gpu = std::make_unique<LinuxGpuSource>("/sys"),
        .system = std::make_unique<LinuxSystemInfoSource>("/proc", "/sys", "/etc"),
    };
}

}  // namespace ostrel
