#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/linux/kernel_file.h"
#include "platform/linux/proc_files.h"
#include "platform/linux/process_names.h"
#include "platform/linux/socket_diag.h"
#include "platform/linux/socket_owners.h"
#include "platform/process_source.h"

namespace ostrel {

// Bytes per process over its open TCP connections: the kernel's per-socket counters, summed
// over the sockets each process holds.
//
// Listing all sockets makes the kernel walk its whole connection table (about a millisecond on
// a machine with much memory, however few connections there are), while looking up known
// sockets costs microseconds. So the list is taken when the kernel's count of TCP sockets
// changed, or every kDiscoveryPeriod at the latest; in between, the sockets of the last list
// are looked up directly. A connection that opens and another that closes in the same interval
// leave the count alone: the new one is counted from the next list on.
class LinuxProcessNetworkSource final : public ProcessNetworkSource {
  public:
    static constexpr Duration kDiscoveryPeriod = std::chrono::seconds(10);

    // `diag` is the kernel's when null.
    LinuxProcessNetworkSource(std::string procRoot, std::shared_ptr<procfs::ProcessNameCache> names,
                              const Clock& clock, std::shared_ptr<sockdiag::SocketDiag> diag = {});
    tl::expected<std::vector<ProcessNetworkCounters>, ReadError> readNetworkCounters(
        const std::vector<int32_t>& pids) override;

  private:
    struct Known {
        std::vector<sockdiag::SocketTraffic> sockets;
        std::optional<std::string> socketCount;
        std::optional<Duration> listedAt;
    };
    tl::expected<std::vector<sockdiag::SocketTraffic>, ReadError> currentSockets(Duration now);
    // The kernel's count of TCP sockets in use, both families, as text; none when unreadable.
    std::optional<std::string> socketCount();

    procfs::KeptDirectory root_;
    KernelFile sockstat_;
    KernelFile sockstat6_;
    std::shared_ptr<procfs::ProcessNameCache> names_;
    const Clock& clock_;
    std::shared_ptr<sockdiag::SocketDiag> diag_;
    // Both held for a copy or a merge only; the kernel is asked outside them.
    std::mutex knownLock_;
    Known known_;
    std::mutex ownersLock_;
    procfs::SocketOwnerCache owners_;
};

}  // namespace ostrel
