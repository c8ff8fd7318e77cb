#pragma once

#include <linux/if_link.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <tl/expected.hpp>

#include "platform/linux/proc_files.h"
#include "platform/network_source.h"
#include "platform/read_error.h"

namespace ostrel {

// Collects the answer to a netlink dump of routes (RTM_GETROUTE) one received chunk at a time,
// keeping the usable default route of the main table with the lowest metric. Usable: a unicast
// route whose next hop is neither dead nor on a link that is down. A multipath route names no
// single interface and is passed over; the text table, which shows its first hop, stands in.
class DefaultRouteFinder {
  public:
    enum class Step { more, done, failed };

    Step feed(std::span<const char> chunk);
    // The output interface's index of the best route so far.
    std::optional<int> interfaceIndex() const { return bestIndex_; }

  private:
    void consider(std::span<const char> route);

    std::optional<int> bestIndex_;
    uint32_t bestMetric_ = 0;
};

// The six counters of the kernel's 32-bit link statistics, as netlink and getifaddrs give them.
InterfaceCounters countersOf(const rtnl_link_stats& stats);

// The answer to an RTM_GETLINK request for one interface: its flags and the kernel's 32-bit
// link statistics (IFLA_STATS, the figures getifaddrs hands out). None when the kernel says
// there is no such device; an error for any other refusal or a malformed answer.
tl::expected<std::optional<LinkEntry>, ReadError> parseLinkReply(std::span<const char> reply);

// A route netlink socket, for one thread at a time. Any error leaves it unusable: the caller
// drops it and opens a fresh one.
class RouteNetlinkSocket {
  public:
    static tl::expected<std::unique_ptr<RouteNetlinkSocket>, ReadError> open();

    // The interface index of the best default route of the family (AF_INET, AF_INET6).
    tl::expected<std::optional<int>, ReadError> defaultRouteIndex(unsigned char family);
    tl::expected<std::optional<LinkEntry>, ReadError> link(const std::string& name);

  private:
    explicit RouteNetlinkSocket(procfs::FileDescriptor fd) : fd_(std::move(fd)) {}

    const procfs::FileDescriptor fd_;
    uint32_t sequence_ = 0;
};

}  // namespace ostrel
