#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/clock.h"
#include "platform/linux/idle_slot.h"
#include "platform/linux/route_netlink.h"
#include "platform/network_source.h"
#include "platform/timed_cache.h"

namespace ostrel {

// The same choice from the text tables /proc/net/route and /proc/net/ipv6_route, for kernels
// or sandboxes without route netlink: the default route of lowest metric that is up and not a
// reject route.
std::optional<std::string> defaultRouteFromProcRoute(std::string_view text);
std::optional<std::string> defaultRouteFromProcIpv6Route(std::string_view text);

// The default route by netlink, falling back to /proc. One interface's entry comes from a
// netlink request for that interface alone, with the kernel's 32-bit link statistics that
// getifaddrs would give, without listing every interface and address; the full list comes
// from getifaddrs. A route, once found, is kept for a few seconds: the interface may sample more
// often than routes change.
class LinuxNetworkSource final : public NetworkSource {
  public:
    static constexpr auto routeValidity = std::chrono::seconds(5);

    LinuxNetworkSource(std::string procRoot, const Clock& clock);

    std::optional<std::string> defaultRouteInterface() override;
    tl::expected<std::optional<LinkEntry>, ReadError> link(const std::string& name) override;
    tl::expected<std::vector<LinkEntry>, ReadError> links() override;

  private:
    std::optional<std::string> lookUpDefaultRoute();
    // Runs `request` on a pooled socket; a socket that failed is dropped, not given back.
    template <class Request>
    auto withSocket(Request request) -> decltype(request(std::declval<RouteNetlinkSocket&>()));

    const std::string routePath_;
    const std::string ipv6RoutePath_;
    TimedCache<std::optional<std::string>> route_;
    IdleSlot<RouteNetlinkSocket> socket_;
};

}  // namespace ostrel
