#include <unistd.h>

#include "platform/linux/process_io.h"
#include "platform/linux/process_memory.h"
#include "platform/linux/process_network.h"
#include "platform/linux/processes.h"
#include "platform/process_source.h"

namespace ostrel {

ProcessSources makePlatformProcessSources(const Clock& clock) {
    // One name cache for all three, so each process's name is resolved once.
    auto names = std::make_shared<procfs::ProcessNameCache>();
    return ProcessSources{
        .processes = std::make_shared<LinuxProcessSource>(LinuxProcessSource::Options{}, names),
        .memory = std::make_shared<LinuxProcessMemorySource>(clock),
        .disk = std::make_shared<LinuxProcessDiskSource>("/proc", names),
        .network = std::make_shared<LinuxProcessNetworkSource>("/proc", names, clock),
        .ownPid = static_cast<int32_t>(getpid()),
    };
}

}  // namespace ostrel
