#include "platform/linux/network.h"

#include <fcntl.h>
#include <ifaddrs.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <net/route.h>
#include <netpacket/packet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "platform/linux/file_reader.h"
#include "platform/linux/proc_files.h"
#include "platform/linux/text_scan.h"

namespace ostrel {
namespace {

using text_scan::nextField;
using text_scan::nextLine;
using text_scan::parseNumber;

template <class T>
std::optional<T> readStruct(std::span<const char> bytes) {
    if (bytes.size() < sizeof(T)) return std::nullopt;
    T value;
    std::memcpy(&value, bytes.data(), sizeof(T));
    return value;
}

// The interface of the first next hop that is neither dead nor link-down.
std::optional<int> firstLiveNextHop(std::span<const char> attribute) {
    while (auto hop = readStruct<rtnexthop>(attribute)) {
        if (hop->rtnh_len < sizeof(rtnexthop) || hop->rtnh_len > attribute.size()) break;
        if (!(hop->rtnh_flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN))) return hop->rtnh_ifindex;
        const size_t advance = RTNH_ALIGN(hop->rtnh_len);
        attribute = attribute.subspan(advance < attribute.size() ? advance : attribute.size());
    }
    return std::nullopt;
}

// Fields of a route table line, after the interface name of /proc/net/route.
bool isUsableDefault(std::string_view destination, std::string_view mask, unsigned flags) {
    return destination == "00000000" && mask == "00000000" && (flags & RTF_UP) &&
           !(flags & RTF_REJECT);
}

}  // namespace

DefaultRouteFinder::Step DefaultRouteFinder::feed(std::span<const char> chunk) {
    while (auto header = readStruct<nlmsghdr>(chunk)) {
        if (header->nlmsg_len < sizeof(nlmsghdr) || header->nlmsg_len > chunk.size()) {
            return Step::failed;
        }
        if (header->nlmsg_type == NLMSG_DONE) return Step::done;
        if (header->nlmsg_type == NLMSG_ERROR) return Step::failed;
        if (header->nlmsg_type == RTM_NEWROUTE) {
            consider(chunk.subspan(NLMSG_HDRLEN, header->nlmsg_len - NLMSG_HDRLEN));
        }
        const size_t advance = NLMSG_ALIGN(header->nlmsg_len);
        chunk = chunk.subspan(advance < chunk.size() ? advance : chunk.size());
    }
    return Step::more;
}

void DefaultRouteFinder::consider(std::span<const char> route) {
    const auto message = readStruct<rtmsg>(route);
    if (!message || message->rtm_dst_len != 0 || message->rtm_type != RTN_UNICAST ||
        (message->rtm_flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN))) {
        return;
    }
    uint32_t table = message->rtm_table;
    uint32_t metric = 0;
    std::optional<int> index;
    std::span<const char> attributes = route.subspan(
        NLMSG_ALIGN(sizeof(rtmsg)) < route.size() ? NLMSG_ALIGN(sizeof(rtmsg)) : route.size());
    while (auto attribute = readStruct<rtattr>(attributes)) {
        if (attribute->rta_len < sizeof(rtattr) || attribute->rta_len > attributes.size()) break;
        const auto payload = attributes.subspan(RTA_LENGTH(0), attribute->rta_len - RTA_LENGTH(0));
        if (attribute->rta_type == RTA_TABLE) {
            if (auto value = readStruct<uint32_t>(payload)) table = *value;
        } else if (attribute->rta_type == RTA_PRIORITY) {
            if (auto value = readStruct<uint32_t>(payload)) metric = *value;
        } else if (attribute->rta_type == RTA_OIF) {
            if (auto value = readStruct<int32_t>(payload)) index = *value;
        } else if (attribute->rta_type == RTA_MULTIPATH && !index) {
            index = firstLiveNextHop(payload);
        }
        const size_t advance = RTA_ALIGN(attribute->rta_len);
        attributes = attributes.subspan(advance < attributes.size() ? advance : attributes.size());
    }
    if (table != RT_TABLE_MAIN || !index) return;
    if (!bestIndex_ || metric < bestMetric_) {
        bestIndex_ = index;
        bestMetric_ = metric;
    }
}

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

// The best default route of one family by a netlink dump; none on any failure.
std::optional<int> defaultRouteByNetlink(unsigned char family) {
    const int fd = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (fd < 0) return std::nullopt;
    struct {
        nlmsghdr header;
        rtmsg message;
    } request{};
    request.header.nlmsg_len = sizeof(request);
    request.header.nlmsg_type = RTM_GETROUTE;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.header.nlmsg_seq = 1;
    request.message.rtm_family = family;
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    std::optional<int> index;
    if (::sendto(fd, &request, sizeof(request), 0, reinterpret_cast<sockaddr*>(&kernel),
                 sizeof(kernel)) == static_cast<ssize_t>(sizeof(request))) {
        DefaultRouteFinder finder;
        alignas(nlmsghdr) std::array<char, 16384> buffer;
        for (;;) {
            const ssize_t got = ::recv(fd, buffer.data(), buffer.size(), 0);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) break;
            const auto step = finder.feed({buffer.data(), static_cast<size_t>(got)});
            if (step == DefaultRouteFinder::Step::done) index = finder.interfaceIndex();
            if (step != DefaultRouteFinder::Step::more) break;
        }
    }
    ::close(fd);
    return index;
}

std::optional<std::string> interfaceName(int index) {
    char name[IF_NAMESIZE];
    if (!::if_indextoname(static_cast<unsigned>(index), name)) return std::nullopt;
    return std::string(name);
}

}  // namespace

LinuxNetworkSource::LinuxNetworkSource(std::string procRoot, const Clock& clock)
    : routePath_(procRoot + "/net/route"),
      ipv6RoutePath_(procRoot + "/net/ipv6_route"),
      clock_(clock) {}

std::optional<std::string> LinuxNetworkSource::lookUpDefaultRoute() const {
    for (const unsigned char family : {AF_INET, AF_INET6}) {
        if (const auto index = defaultRouteByNetlink(family)) {
            if (auto name = interfaceName(*index)) return name;
        }
    }
    std::array<char, 16384> buffer;
    if (const auto text = procfs::readFileAt(AT_FDCWD, routePath_.c_str(), buffer)) {
        if (auto name = defaultRouteFromProcRoute(*text)) return name;
    }
    if (const auto text = procfs::readFileAt(AT_FDCWD, ipv6RoutePath_.c_str(), buffer)) {
        if (auto name = defaultRouteFromProcIpv6Route(*text)) return name;
    }
    return std::nullopt;
}

std::optional<std::string> LinuxNetworkSource::defaultRouteInterface() {
    {
        std::lock_guard lock(routeLock_);
        if (routeFoundAt_ && clock_.monotonic() - *routeFoundAt_ < routeValidity) return route_;
    }
    auto route = lookUpDefaultRoute();
    std::lock_guard lock(routeLock_);
    route_ = route;
    routeFoundAt_ = clock_.monotonic();
    return route;
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
            const auto* stats = static_cast<const rtnl_link_stats*>(entry->ifa_data);
            link.counters =
                InterfaceCounters{stats->rx_packets, stats->tx_packets, stats->rx_bytes,
                                  stats->tx_bytes,   stats->rx_errors,  stats->tx_errors};
        }
        entries.push_back(std::move(link));
    }
    ::freeifaddrs(list);
    return entries;
}

}  // namespace ostrel
