#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <tl/expected.hpp>
#include <vector>

#include "platform/read_error.h"

// Open TCP sockets with their byte counters, from the kernel's sock_diag netlink interface.
namespace ostrel::sockdiag {

// What the kernel needs to find one socket again: its family and its identity (addresses,
// ports, interface and cookie) exactly as the kernel gave them.
struct SocketKey {
    uint8_t family = 0;
    std::array<uint8_t, 48> id{};

    bool operator==(const SocketKey&) const = default;
};

struct SocketTraffic {
    uint64_t inode = 0;
    uint64_t bytesReceived = 0;
    uint64_t bytesAcked = 0;  // sent and acknowledged by the peer
    SocketKey key;

    bool operator==(const SocketTraffic&) const = default;
};

class SocketDiag {
  public:
    virtual ~SocketDiag() = default;
    // Every connected or closing TCP socket of both families that has an owner and counters.
    // The kernel walks its whole connection table for this, whatever the number of sockets.
    virtual tl::expected<std::vector<SocketTraffic>, ReadError> dumpAll() = 0;
    // Fresh counters of sockets found before, by direct lookup; closed ones are left out.
    virtual tl::expected<std::vector<SocketTraffic>, ReadError> lookUp(
        const std::vector<SocketTraffic>& known) = 0;
};

// The running kernel's.
class KernelSocketDiag final : public SocketDiag {
  public:
    tl::expected<std::vector<SocketTraffic>, ReadError> dumpAll() override;
    tl::expected<std::vector<SocketTraffic>, ReadError> lookUp(
        const std::vector<SocketTraffic>& known) override;
};

// One datagram of replies, appended to `sockets`. True when the dump's end was seen. Sockets
// without an inode (owned by no process any more) or whose kernel reports no byte counters are
// skipped. With `lookups`, an error reply is a socket that closed meanwhile; otherwise a kernel
// error message fails the dump.
tl::expected<bool, ReadError> parseDatagram(std::span<const uint8_t> datagram,
                                            std::vector<SocketTraffic>& sockets,
                                            bool lookups = false);

}  // namespace ostrel::sockdiag
