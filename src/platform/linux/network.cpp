#include "platform/linux/network.h"

#include <fcntl.h>
#include <ifaddrs.h>
#include <linux/if_link.h>
#include <net/if.h>
#include <net/route.h>
#include <netpacket/packet.h>
#include <sys/socket.h>

#include <array>

#include "platform/linux/proc_files.h"
#include "platform/linux/text_scan.h"

namespace ostrel {
namespace {

using text_scan::nextField;
using text_scan::nextLine;
using text_scan::parseNumber;

// Fields of a route table line, after the interface name of /proc/net/route.
bool isUsableDefault(std::string_view destination, std::string_view mask, unsigned flags) {
    return destination == "00000000" && mask == "00000000" && (flags & RTF_UP) &&
           !(flags & RTF_REJECT);
}

}  // namespace

std::optional<std::string> defaultRouteFromProcRoute(std::string_view text) {
    std::optional<std::string> best;
    uint64_t bestMetric = 0;
    std::string_view line;
    nextLine(text, line);  // header
    while (nextLine(text, line)) {
        // Iface Destination Gateway Flags RefCnt Use Metric Mask ...
        std::array<std::string_view, 8> fields;
        size_t count = 0;
        while (count < fields.size() && nextField(line, fields[count]))
            ++count;
        if (count < fields.size()) continue;
        const auto flags = parseNumber<unsigned>(fields[3], 16);
        const auto metric = parseNumber<uint64_t>(fields[6]);
        if (!flags || !metric || !isUsableDefault(fields[1], fields[7], *flags)) continue;
        if (!best || *metric < bestMetric) {
            best = std::string(fields[0]);
            bestMetric = *metric;
        }
    }
    return best;
}

std::optional<std::string> defaultRouteFromProcIpv6Route(std::string_view text) {
    std::optional<std::string> best;
    uint64_t bestMetric = 0;
    std::string_view line;
    while (nextLine(text, line)) {
        // destination prefix-length source source-length next-hop metric refs use flags iface
        std::array<std::string_view, 10> fields;
        size_t count = 0;
        while (count < fields.size() && nextField(line, fields[count]))
            ++count;
        if (count < fields.size()) continue;
        const auto metric = parseNumber<uint64_t>(fields[5], 16);
        const auto flags = parseNumber<unsigned>(fields[8], 16);
        if (fields[0] != std::string_view("00000000000000000000000000000000") ||
            fields[1] != "00" || !metric || !flags || !(*flags & RTF_UP) || (*flags & RTF_REJECT) ||
            fields[9] == "lo") {
            continue;
        }
        if (!best || *metric < bestMetric) {
            best = std::string(fields[9]);
            bestMetric = *metric;
        }
    }
    return best;
}

namespace {

std::optional<std::string> interfaceName(int index) {
    char name[IF_NAMESIZE];
    if (!::if_indextoname(static_cast<unsigned>(index), name)) return std::nullopt;
    return std::string(name);
}

}  // namespace

LinuxNetworkSource::LinuxNetworkSource(std::string procRoot, const Clock& clock)
    : routePath_(procRoot + "/net/route"),
      ipv6RoutePath_(procRoot + "/net/ipv6_route"),
      route_(clock, routeValidity) {}

template <class Request>
auto LinuxNetworkSource::withSocket(Request request)
    -> decltype(request(std::declval<RouteNetlinkSocket&>())) {
    auto socket = socket_.take();
    if (!socket) {
        auto opened = RouteNetlinkSocket::open();
        if (!opened) return tl::unexpected(opened.error());
        socket = std::move(*opened);
    }
    auto result = request(*socket);
    if (result) socket_.giveBack(socket);
    return result;
}

std::optional<std::string> LinuxNetworkSource::lookUpDefaultRoute() {
    for (const unsigned char family : {AF_INET, AF_INET6}) {
        const auto index = withSocket(
            [family](RouteNetlinkSocket& socket) { return socket.defaultRouteIndex(family); });
        if (index && *index) {
            if (auto name = interfaceName(**index)) return name;
        }
    }
    // Without route netlink (a sandbox may refuse it) or a single-hop default, the text tables:
    // a line per route, handed out a page at a time, so read to the end.
    std::array<char, 16384> buffer;
    if (const auto text = procfs::readFileAt(AT_FDCWD, routePath_.c_str(), buffer, true)) {
        if (auto name = defaultRouteFromProcRoute(*text)) return name;
    }
    if (const auto text = procfs::readFileAt(AT_FDCWD, ipv6RoutePath_.c_str(), buffer, true)) {
        if (auto name = defaultRouteFromProcIpv6Route(*text)) return name;
    }
    return std::nullopt;
}

std::optional<std::string> LinuxNetworkSource::defaultRouteInterface() {
    return *route_.get([this] { return lookUpDefaultRoute(); });
}

tl::expected<std::optional<LinkEntry>, ReadError> LinuxNetworkSource::link(
    const std::string& name) {
    return withSocket([&name](RouteNetlinkSocket& socket) { return socket.link(name); });
}

tl::expected<std::vector<LinkEntry>, ReadError> LinuxNetworkSource::links() {
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) return tl::unexpected(procfs::readErrorFromErrno(errno));
    std::vector<LinkEntry> entries;
    for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        // Link-level entries are the AF_PACKET ones; their data is the kernel's 32-bit
        // rtnl_link_stats.
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_PACKET || !entry->ifa_name) {
            continue;
        }
        LinkEntry link{.name = entry->ifa_name,
                       .up = (entry->ifa_flags & IFF_UP) != 0,
                       .loopback = (entry->ifa_flags & IFF_LOOPBACK) != 0};
        if (entry->ifa_data) {
            link.counters = countersOf(*static_cast<const rtnl_link_stats*>(entry->ifa_data));
        }
        entries.push_back(std::move(link));
    }
    ::freeifaddrs(list);
    return entries;
}

}  // namespace ostrel
