#include "platform/linux/route_netlink.h"

#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "platform/linux/netlink_socket.h"
#include "platform/linux/proc_files.h"

namespace ostrel {
namespace {

template <class T>
std::optional<T> readStruct(std::span<const char> bytes) {
    if (bytes.size() < sizeof(T)) return std::nullopt;
    T value;
    std::memcpy(&value, bytes.data(), sizeof(T));
    return value;
}

// The rest of `bytes` after `length` bytes aligned as netlink aligns them.
std::span<const char> after(std::span<const char> bytes, size_t length) {
    return bytes.subspan(length < bytes.size() ? length : bytes.size());
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
        chunk = after(chunk, NLMSG_ALIGN(header->nlmsg_len));
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
    auto attributes = after(route, NLMSG_ALIGN(sizeof(rtmsg)));
    while (auto attribute = readStruct<rtattr>(attributes)) {
        if (attribute->rta_len < sizeof(rtattr) || attribute->rta_len > attributes.size()) break;
        const auto payload = attributes.subspan(RTA_LENGTH(0), attribute->rta_len - RTA_LENGTH(0));
        if (attribute->rta_type == RTA_TABLE) {
            if (auto value = readStruct<uint32_t>(payload)) table = *value;
        } else if (attribute->rta_type == RTA_PRIORITY) {
            if (auto value = readStruct<uint32_t>(payload)) metric = *value;
        } else if (attribute->rta_type == RTA_OIF) {
            if (auto value = readStruct<int32_t>(payload)) index = *value;
        }
        attributes = after(attributes, RTA_ALIGN(attribute->rta_len));
    }
    if (table != RT_TABLE_MAIN || !index) return;
    if (!bestIndex_ || metric < bestMetric_) {
        bestIndex_ = index;
        bestMetric_ = metric;
    }
}

InterfaceCounters countersOf(const rtnl_link_stats& stats) {
    return {stats.rx_packets, stats.tx_packets, stats.rx_bytes,
            stats.tx_bytes,   stats.rx_errors,  stats.tx_errors};
}

tl::expected<std::optional<LinkEntry>, ReadError> parseLinkReply(std::span<const char> reply) {
    const auto header = readStruct<nlmsghdr>(reply);
    if (!header || header->nlmsg_len < NLMSG_HDRLEN || header->nlmsg_len > reply.size()) {
        return tl::unexpected(ReadError::parse);
    }
    const auto payload = reply.subspan(NLMSG_HDRLEN, header->nlmsg_len - NLMSG_HDRLEN);
    if (header->nlmsg_type == NLMSG_ERROR) {
        const auto error = readStruct<nlmsgerr>(payload);
        if (!error) return tl::unexpected(ReadError::parse);
        if (error->error == -ENODEV) return std::nullopt;
        return tl::unexpected(procfs::readErrorFromErrno(-error->error));
    }
    const auto message = readStruct<ifinfomsg>(payload);
    if (header->nlmsg_type != RTM_NEWLINK || !message) return tl::unexpected(ReadError::parse);
    LinkEntry entry{.up = (message->ifi_flags & IFF_UP) != 0,
                    .loopback = (message->ifi_flags & IFF_LOOPBACK) != 0};
    auto attributes = after(payload, NLMSG_ALIGN(sizeof(ifinfomsg)));
    while (auto attribute = readStruct<rtattr>(attributes)) {
        if (attribute->rta_len < sizeof(rtattr) || attribute->rta_len > attributes.size()) {
            return tl::unexpected(ReadError::parse);
        }
        const auto value = attributes.subspan(RTA_LENGTH(0), attribute->rta_len - RTA_LENGTH(0));
        if (attribute->rta_type == IFLA_IFNAME) {
            entry.name.assign(value.data(), strnlen(value.data(), value.size()));
        } else if (attribute->rta_type == IFLA_STATS) {
            if (const auto stats = readStruct<rtnl_link_stats>(value)) {
                entry.counters = countersOf(*stats);
            }
        }
        attributes = after(attributes, RTA_ALIGN(attribute->rta_len));
    }
    if (entry.name.empty()) return tl::unexpected(ReadError::parse);
    return entry;
}

tl::expected<std::unique_ptr<RouteNetlinkSocket>, ReadError> RouteNetlinkSocket::open() {
    auto fd = netlink::openSocket(SOCK_RAW, NETLINK_ROUTE);
    if (!fd) return tl::unexpected(fd.error());
    return std::unique_ptr<RouteNetlinkSocket>(new RouteNetlinkSocket(std::move(*fd)));
}

tl::expected<std::optional<int>, ReadError> RouteNetlinkSocket::defaultRouteIndex(
    unsigned char family) {
    struct {
        nlmsghdr header;
        rtmsg message;
    } request{};
    request.header = {.nlmsg_len = sizeof(request),
                      .nlmsg_type = RTM_GETROUTE,
                      .nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP,
                      .nlmsg_seq = ++sequence_};
    request.message.rtm_family = family;
    if (!netlink::sendToKernel(fd_.get(), &request, sizeof(request))) {
        return tl::unexpected(ReadError::unsupported);
    }
    DefaultRouteFinder finder;
    alignas(nlmsghdr) std::array<char, 32768> buffer;
    for (;;) {
        const ssize_t got = ::recv(fd_.get(), buffer.data(), buffer.size(), 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return tl::unexpected(ReadError::unsupported);
        const auto step = finder.feed({buffer.data(), static_cast<size_t>(got)});
        if (step == DefaultRouteFinder::Step::failed) return tl::unexpected(ReadError::parse);
        if (step == DefaultRouteFinder::Step::done) return finder.interfaceIndex();
    }
}

tl::expected<std::optional<LinkEntry>, ReadError> RouteNetlinkSocket::link(
    const std::string& name) {
    if (name.empty() || name.size() >= IFNAMSIZ) return std::nullopt;
    struct {
        nlmsghdr header;
        ifinfomsg message;
        char attribute[RTA_SPACE(IFNAMSIZ)];
    } request{};
    const auto attributeLength = static_cast<unsigned short>(RTA_LENGTH(name.size() + 1));
    request.header = {.nlmsg_len = static_cast<uint32_t>(NLMSG_LENGTH(sizeof(ifinfomsg)) +
                                                         RTA_ALIGN(attributeLength)),
                      .nlmsg_type = RTM_GETLINK,
                      .nlmsg_flags = NLM_F_REQUEST,
                      .nlmsg_seq = ++sequence_};
    const rtattr attribute{.rta_len = attributeLength, .rta_type = IFLA_IFNAME};
    std::memcpy(request.attribute, &attribute, sizeof(attribute));
    std::memcpy(request.attribute + RTA_LENGTH(0), name.c_str(), name.size() + 1);
    if (!netlink::sendToKernel(fd_.get(), &request, request.header.nlmsg_len)) {
        return tl::unexpected(ReadError::unsupported);
    }
    alignas(nlmsghdr) std::array<char, 32768> buffer;
    for (;;) {
        const ssize_t got = ::recv(fd_.get(), buffer.data(), buffer.size(), MSG_TRUNC);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0 || static_cast<size_t>(got) > buffer.size()) {
            return tl::unexpected(ReadError::unsupported);
        }
        return parseLinkReply({buffer.data(), static_cast<size_t>(got)});
    }
}

}  // namespace ostrel
