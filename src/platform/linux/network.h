#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/clock.h"
#include "platform/network_source.h"

namespace ostrel {

// Collects the answer to a netlink dump of routes (RTM_GETROUTE) one received chunk at a time,
// keeping the usable default route of the main table with the lowest metric. Usable: a unicast
// route whose next hop is neither dead nor on a link that is down.
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

// The same choice from the text tables /proc/net/route and /proc/net/ipv6_route, for kernels
// or sandboxes without route netlink: the default route of lowest metric that is up and not a
// reject route.
std::optional<std::string> defaultRouteFromProcRoute(std::string_view text);
std::optional<std::string> defaultRouteFromProcIpv6Route(std::string_view text);

// The default route by netlink, falling back to /proc; link entries from getifaddrs with the
// kernel's 32-bit link statistics. A route, once found, is kept for a few seconds: the
// interface may sample more often than routes change.
class LinuxNetworkSource final : public NetworkSource {
  public:
    static constexpr auto routeValidity = std::chrono::seconds(5);

    LinuxNetworkSource(std::string procRoot, const Clock& clock);

    std::optional<std::string> defaultRouteInterface() override;
    tl::expected<std::vector<LinkEntry>, ReadError> links() override;

  private:
    std::optional<std::string> lookUpDefaultRoute() const;

    const std::string routePath_;
    const std::string ipv6RoutePath_;
    const Clock& clock_;
    std::mutex routeLock_;
    std::optional<std::string> route_;
    std::optional<Duration> routeFoundAt_;
};

}  // namespace ostrel
