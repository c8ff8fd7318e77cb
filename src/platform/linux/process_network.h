#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "platform/linux/process_names.h"
#include "platform/linux/socket_diag.h"
#include "platform/linux/socket_owners.h"
#include "platform/process_source.h"

namespace ostrel {

// Bytes per process over its open TCP connections: the kernel's per-socket counters, summed
// over the sockets each process holds.
class LinuxProcessNetworkSource final : public ProcessNetworkSource {
  public:
    using SocketDump =
        std::function<tl::expected<std::vector<sockdiag::SocketTraffic>, ReadError>()>;

    // `dump` lists the sockets; the kernel's sock_diag when empty.
    LinuxProcessNetworkSource(std::string procRoot, std::shared_ptr<procfs::ProcessNameCache> names,
                              const Clock& clock, SocketDump dump = {});
    tl::expected<std::vector<ProcessNetworkCounters>, ReadError> readNetworkCounters() override;

  private:
    std::string procRoot_;
    std::shared_ptr<procfs::ProcessNameCache> names_;
    const Clock& clock_;
    SocketDump dump_;
    // Held for planning and merging only; descriptor tables are read outside it.
    std::mutex ownersLock_;
    procfs::SocketOwnerCache owners_;
};

}  // namespace ostrel
