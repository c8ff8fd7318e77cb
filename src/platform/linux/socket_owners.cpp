#include "platform/linux/socket_owners.h"

#include <algorithm>
#include <vector>

namespace ostrel::procfs {

SocketOwnerCache::Plan SocketOwnerCache::plan(const std::vector<uint64_t>& sockets,
                                              const std::vector<int32_t>& pids,
                                              Duration now) const {
    Plan plan;
    const bool unknownSockets = std::any_of(sockets.begin(), sockets.end(), [&](uint64_t inode) {
        return !owners_.contains(inode) && !unplaced_.contains(inode);
    });
    if (read_.empty() || (unknownSockets && (!lastFull_ || now - *lastFull_ >= kFullPeriod))) {
        plan.full = true;
        plan.pidsToRead = pids;
        return plan;
    }
    if (!unknownSockets) return plan;
    std::unordered_set<int32_t> chosen;
    for (const int32_t pid : pids) {
        if (!read_.contains(pid)) chosen.insert(pid);
    }
    if (!lastOwners_ || now - *lastOwners_ >= kOwnersPeriod) {
        plan.owners = true;
        for (const auto& [inode, pid] : owners_)
            chosen.insert(pid);
    }
    plan.pidsToRead.assign(chosen.begin(), chosen.end());
    std::sort(plan.pidsToRead.begin(), plan.pidsToRead.end());
    return plan;
}

void SocketOwnerCache::apply(const Plan& plan, const std::vector<Table>& tables,
                             const std::vector<uint64_t>& sockets, const std::vector<int32_t>& pids,
                             Duration now) {
    // Sorted copies searched by halves: a node set would cost an allocation per process and
    // per socket at every sample.
    const auto sorted = [](auto values) {
        std::sort(values.begin(), values.end());
        return values;
    };
    const std::vector<uint64_t> live = sorted(sockets);
    const std::vector<int32_t> alive = sorted(pids);
    const auto isLive = [&](uint64_t inode) {
        return std::binary_search(live.begin(), live.end(), inode);
    };
    const auto isAlive = [&](int32_t pid) {
        return std::binary_search(alive.begin(), alive.end(), pid);
    };
    for (const Table& table : tables) {
        for (const uint64_t inode : table.inodes) {
            if (isLive(inode)) owners_[inode] = table.pid;
        }
    }
    read_.insert(plan.pidsToRead.begin(), plan.pidsToRead.end());
    std::erase_if(read_, [&](int32_t pid) { return !isAlive(pid); });
    std::erase_if(
        owners_, [&](const auto& entry) { return !isLive(entry.first) || !isAlive(entry.second); });
    if (plan.full) {
        lastFull_ = now;
        unplaced_.clear();
        for (const uint64_t inode : sockets) {
            if (!owners_.contains(inode)) unplaced_.insert(inode);
        }
    } else {
        std::erase_if(unplaced_, [&](uint64_t inode) { return !isLive(inode); });
    }
    if (plan.owners || plan.full) lastOwners_ = now;
}

std::optional<int32_t> SocketOwnerCache::owner(uint64_t inode) const {
    const auto found = owners_.find(inode);
    if (found == owners_.end()) return std::nullopt;
    return found->second;
}

}  // namespace ostrel::procfs
