#pragma once

#include <cstdint>
#include <span>
#include <tl/expected.hpp>
#include <vector>

#include "platform/read_error.h"

// Open TCP sockets with their byte counters, from the kernel's sock_diag netlink interface
// (one dump per address family instead of a text file per connection).
namespace ostrel::sockdiag {

struct SocketTraffic {
    uint64_t inode = 0;
    uint64_t bytesReceived = 0;
    uint64_t bytesAcked = 0;  // sent and acknowledged by the peer

    bool operator==(const SocketTraffic&) const = default;
};

// Every connected or closing TCP socket of both families that has an inode and counters.
tl::expected<std::vector<SocketTraffic>, ReadError> dumpTcpSockets();

// One datagram of a dump reply, appended to `sockets`. True when the dump's end was seen.
// Sockets without an inode (owned by no process any more) or whose kernel reports no byte
// counters are skipped; a kernel error message fails.
tl::expected<bool, ReadError> parseDumpDatagram(std::span<const uint8_t> datagram,
                                                std::vector<SocketTraffic>& sockets);

}  // namespace ostrel::sockdiag
