#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/clock.h"

namespace ostrel::procfs {

// Which process owns which socket, learnt by reading processes' descriptor tables. Reading
// every table on every sample would cost more than the rest of a sample together, so tables are
// read only when sockets of unknown owner appear: then the tables of the processes not read yet
// (a new socket most likely belongs to a new process), and those of the processes that already
// own sockets (at most every ownersPeriod); all tables only when unknown sockets remain, at most
// every fullPeriod. While every socket has its owner, new processes cost nothing, which matters
// on a machine that starts processes all the time (a build). Sockets that a full read could
// not place (another user's, whose table we may not read) wait for the next full read.
class SocketOwnerCache {
  public:
    static constexpr Duration kOwnersPeriod = std::chrono::seconds(2);
    static constexpr Duration kFullPeriod = std::chrono::seconds(30);

    struct Plan {
        std::vector<int32_t> pidsToRead;
        bool full = false;
        bool owners = false;
    };
    // The socket inodes of one process's descriptor table.
    struct Table {
        int32_t pid = 0;
        std::vector<uint64_t> inodes;
    };

    // The tables to read now, for the live sockets and processes.
    Plan plan(const std::vector<uint64_t>& sockets, const std::vector<int32_t>& pids,
              Duration now) const;
    // Takes in the tables read for `plan`; forgets sockets and processes that are gone.
    void apply(const Plan& plan, const std::vector<Table>& tables,
               const std::vector<uint64_t>& sockets, const std::vector<int32_t>& pids,
               Duration now);
    std::optional<int32_t> owner(uint64_t inode) const;

  private:
    std::unordered_map<uint64_t, int32_t> owners_;
    std::unordered_set<int32_t> read_;
    std::unordered_set<uint64_t> unplaced_;
    std::optional<Duration> lastFull_;
    std::optional<Duration> lastOwners_;
};

}  // namespace ostrel::procfs
