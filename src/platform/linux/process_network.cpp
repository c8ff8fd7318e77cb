#include "platform/linux/process_network.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <map>

#include "platform/linux/proc_files.h"
#include "platform/linux/proc_text.h"

namespace ostrel {

namespace {

// The socket inodes among a process's open descriptors; none when it is gone or not ours.
std::vector<uint64_t> socketInodesOf(int procfd, int32_t pid) {
    std::vector<uint64_t> inodes;
    const procfs::PidPath directory(pid, "fd");
    const auto descriptors = procfs::numericEntries(procfd, directory.c_str());
    if (!descriptors) return inodes;
    char path[64];
    char link[64];
    for (const int32_t descriptor : *descriptors) {
        std::snprintf(path, sizeof(path), "%d/fd/%d", pid, descriptor);
        const ssize_t length = ::readlinkat(procfd, path, link, sizeof(link));
        if (length <= 0) continue;
        if (const auto inode = procfs::parseSocketInode({link, static_cast<size_t>(length)})) {
            inodes.push_back(*inode);
        }
    }
    return inodes;
}

uint64_t saturatingSum(uint64_t a, uint64_t b) {
    uint64_t sum = 0;
    return __builtin_add_overflow(a, b, &sum) ? UINT64_MAX : sum;
}

}  // namespace

LinuxProcessNetworkSource::LinuxProcessNetworkSource(
    std::string procRoot, std::shared_ptr<procfs::ProcessNameCache> names, const Clock& clock,
    std::shared_ptr<sockdiag::SocketDiag> diag)
    : root_(procRoot),
      sockstat_(procRoot + "/net/sockstat"),
      sockstat6_(procRoot + "/net/sockstat6"),
      names_(std::move(names)),
      clock_(clock),
      diag_(std::move(diag)) {
    if (!names_) names_ = std::make_shared<procfs::ProcessNameCache>();
    if (!diag_) diag_ = std::make_shared<sockdiag::KernelSocketDiag>();
}

std::optional<std::string> LinuxProcessNetworkSource::socketCount() {
    std::string count;
    for (KernelFile* file : {&sockstat_, &sockstat6_}) {
        char buffer[1024];
        const auto text = file->read(buffer);
        if (!text) return std::nullopt;
        const auto inUse = procfs::parseTcpSocketsInUse(*text);
        if (!inUse) return std::nullopt;
        count += std::to_string(*inUse) + ' ';
    }
    return count;
}

tl::expected<std::vector<sockdiag::SocketTraffic>, ReadError>
LinuxProcessNetworkSource::currentSockets(Duration now) {
    const auto socketCount = this->socketCount();
    Known known;
    {
        std::lock_guard guard(knownLock_);
        known = known_;
    }
    const bool listDue = !known.listedAt || now - *known.listedAt >= kDiscoveryPeriod ||
                         !socketCount || socketCount != known.socketCount;
    if (!listDue) {
        // A failed lookup falls back to the full list.
        if (auto sockets = diag_->lookUp(known.sockets)) {
            std::lock_guard guard(knownLock_);
            known_.sockets = *sockets;
            return sockets;
        }
    }
    auto sockets = diag_->dumpAll();
    if (!sockets) return sockets;
    std::lock_guard guard(knownLock_);
    known_ = Known{*sockets, socketCount, now};
    return sockets;
}

tl::expected<std::vector<ProcessNetworkCounters>, ReadError>
LinuxProcessNetworkSource::readNetworkCounters(const std::vector<int32_t>& pids) {
    const auto procfd = root_.get();
    if (!procfd) return tl::unexpected(procfd.error());
    const int proc = *procfd;
    const Duration now = clock_.monotonic();
    auto sockets = currentSockets(now);
    if (!sockets) return tl::unexpected(sockets.error());

    std::vector<uint64_t> inodes;
    inodes.reserve(sockets->size());
    for (const auto& socket : *sockets)
        inodes.push_back(socket.inode);

    procfs::SocketOwnerCache::Plan plan;
    {
        std::lock_guard guard(ownersLock_);
        plan = owners_.plan(inodes, pids, now);
    }
    std::vector<procfs::SocketOwnerCache::Table> tables;
    tables.reserve(plan.pidsToRead.size());
    for (const int32_t pid : plan.pidsToRead) {
        tables.push_back({pid, socketInodesOf(proc, pid)});
    }

    // Ordered by pid, so that equal totals come out in a stable order.
    std::map<int32_t, std::pair<uint64_t, uint64_t>> perProcess;
    {
        std::lock_guard guard(ownersLock_);
        owners_.apply(plan, tables, inodes, pids, now);
        for (const auto& socket : *sockets) {
            const auto owner = owners_.owner(socket.inode);
            if (!owner) continue;
            auto& [bytesIn, bytesOut] = perProcess[*owner];
            bytesIn = saturatingSum(bytesIn, socket.bytesReceived);
            bytesOut = saturatingSum(bytesOut, socket.bytesAcked);
        }
    }

    std::vector<ProcessNetworkCounters> counters;
    counters.reserve(perProcess.size());
    for (const auto& [pid, bytes] : perProcess) {
        if (bytes.first == 0 && bytes.second == 0) continue;
        auto name = names_->currentName(proc, pid);
        if (!name) continue;
        counters.push_back({.pid = pid,
                            .name = std::move(*name),
                            .bytesIn = bytes.first,
                            .bytesOut = bytes.second});
    }
    return counters;
}

}  // namespace ostrel
