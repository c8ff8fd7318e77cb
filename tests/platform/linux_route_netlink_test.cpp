#include <gtest/gtest.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "platform/linux/route_netlink.h"

namespace ostrel {
namespace {

// Builds the bytes of a netlink route dump as the kernel sends them.
class RouteDump {
  public:
    struct Route {
        unsigned char dstLength = 0;
        unsigned char type = RTN_UNICAST;
        unsigned flags = 0;
        uint32_t table = RT_TABLE_MAIN;
        std::optional<int32_t> outputIndex;
        std::optional<uint32_t> metric;
        std::vector<rtnexthop> nextHops;  // RTA_MULTIPATH
    };

    RouteDump& add(const Route& route) {
        const size_t start = bytes_.size();
        append(nlmsghdr{.nlmsg_type = RTM_NEWROUTE, .nlmsg_flags = NLM_F_MULTI});
        append(rtmsg{.rtm_family = AF_INET,
                     .rtm_dst_len = route.dstLength,
                     .rtm_table = static_cast<unsigned char>(route.table < 256 ? route.table : 252),
                     .rtm_type = route.type,
                     .rtm_flags = route.flags});
        attribute(RTA_TABLE, route.table);
        if (route.outputIndex) attribute(RTA_OIF, *route.outputIndex);
        if (route.metric) attribute(RTA_PRIORITY, *route.metric);
        if (!route.nextHops.empty()) {
            std::vector<char> hops;
            for (const rtnexthop& hop : route.nextHops) {
                rtnexthop copy = hop;
                copy.rtnh_len = sizeof(rtnexthop);
                hops.insert(hops.end(), reinterpret_cast<const char*>(&copy),
                            reinterpret_cast<const char*>(&copy) + sizeof(copy));
            }
            rawAttribute(RTA_MULTIPATH, hops.data(), hops.size());
        }
        finish(start);
        return *this;
    }
    RouteDump& done() {
        const size_t start = bytes_.size();
        append(nlmsghdr{.nlmsg_type = NLMSG_DONE});
        append(int32_t{0});
        finish(start);
        return *this;
    }
    const std::vector<char>& bytes() const { return bytes_; }

  private:
    template <class T>
    void append(const T& value) {
        const auto* raw = reinterpret_cast<const char*>(&value);
        bytes_.insert(bytes_.end(), raw, raw + sizeof(T));
    }
    template <class T>
    void attribute(unsigned short type, const T& value) {
        rawAttribute(type, &value, sizeof(T));
    }
    void rawAttribute(unsigned short type, const void* data, size_t size) {
        append(rtattr{.rta_len = static_cast<unsigned short>(RTA_LENGTH(size)), .rta_type = type});
        const auto* raw = static_cast<const char*>(data);
        bytes_.insert(bytes_.end(), raw, raw + size);
        bytes_.resize(bytes_.size() + RTA_ALIGN(size) - size, 0);
    }
    void finish(size_t start) {
        const auto length = static_cast<uint32_t>(bytes_.size() - start);
        std::memcpy(bytes_.data() + start, &length, sizeof(length));
    }

    std::vector<char> bytes_;
};

TEST(DefaultRouteFinder, KeepsTheUsableMainTableDefaultOfLowestMetric) {
    RouteDump dump;
    dump.add({.outputIndex = 3, .metric = 600})
        .add({.dstLength = 24, .outputIndex = 4})           // not a default
        .add({.flags = RTNH_F_LINKDOWN, .outputIndex = 5})  // link down
        .add({.type = RTN_UNREACHABLE, .outputIndex = 1})   // reject route
        .add({.table = 1000, .outputIndex = 6})             // policy table
        .add({.outputIndex = 2, .metric = 100})
        .done();
    DefaultRouteFinder finder;
    EXPECT_EQ(finder.feed(dump.bytes()), DefaultRouteFinder::Step::done);
    EXPECT_EQ(finder.interfaceIndex(), 2);
}

TEST(DefaultRouteFinder, FollowsTheFirstLiveHopOfAMultipathRouteAcrossChunks) {
    RouteDump first, second;
    first.add({.metric = 50,
               .nextHops = {rtnexthop{.rtnh_flags = RTNH_F_DEAD, .rtnh_ifindex = 8},
                            rtnexthop{.rtnh_ifindex = 9}}});
    second.add({.outputIndex = 3, .metric = 600}).done();
    DefaultRouteFinder finder;
    EXPECT_EQ(finder.feed(first.bytes()), DefaultRouteFinder::Step::more);
    EXPECT_EQ(finder.feed(second.bytes()), DefaultRouteFinder::Step::done);
    EXPECT_EQ(finder.interfaceIndex(), 9);
}

TEST(DefaultRouteFinder, TruncatedOrErrorAnswersFail) {
    RouteDump dump;
    dump.add({.outputIndex = 3}).done();
    std::vector<char> cut(dump.bytes().begin(), dump.bytes().begin() + 20);
    cut[0] = 40;  // claims more than the chunk holds
    EXPECT_EQ(DefaultRouteFinder().feed(cut), DefaultRouteFinder::Step::failed);

    nlmsghdr error{.nlmsg_len = sizeof(nlmsghdr), .nlmsg_type = NLMSG_ERROR};
    EXPECT_EQ(DefaultRouteFinder().feed({reinterpret_cast<const char*>(&error), sizeof(error)}),
              DefaultRouteFinder::Step::failed);
}

std::vector<char> linkReply(const char* name, unsigned flags,
                            std::optional<rtnl_link_stats> stats) {
    std::vector<char> bytes(NLMSG_LENGTH(sizeof(ifinfomsg)));
    const auto attribute = [&](unsigned short type, const void* data, size_t size) {
        const rtattr header{.rta_len = static_cast<unsigned short>(RTA_LENGTH(size)),
                            .rta_type = type};
        const size_t at = bytes.size();
        bytes.resize(at + RTA_SPACE(size), 0);
        std::memcpy(bytes.data() + at, &header, sizeof(header));
        std::memcpy(bytes.data() + at + RTA_LENGTH(0), data, size);
    };
    attribute(IFLA_IFNAME, name, std::strlen(name) + 1);
    if (stats) attribute(IFLA_STATS, &*stats, sizeof(*stats));
    const nlmsghdr header{.nlmsg_len = static_cast<uint32_t>(bytes.size()),
                          .nlmsg_type = RTM_NEWLINK};
    const ifinfomsg message{.ifi_flags = flags};
    std::memcpy(bytes.data(), &header, sizeof(header));
    std::memcpy(bytes.data() + NLMSG_HDRLEN, &message, sizeof(message));
    return bytes;
}

std::vector<char> errorReply(int error) {
    struct {
        nlmsghdr header;
        nlmsgerr body;
    } reply{};
    reply.header = {.nlmsg_len = sizeof(reply), .nlmsg_type = NLMSG_ERROR};
    reply.body.error = -error;
    const auto* raw = reinterpret_cast<const char*>(&reply);
    return {raw, raw + sizeof(reply)};
}

TEST(LinkReply, GivesFlagsAndThe32BitStatisticsOfTheInterface) {
    rtnl_link_stats stats{};
    stats.rx_packets = 1;
    stats.tx_packets = 2;
    stats.rx_bytes = 4294967295u;
    stats.tx_bytes = 4;
    stats.rx_errors = 5;
    stats.tx_errors = 6;
    const auto up = parseLinkReply(linkReply("wlan0", IFF_UP | IFF_RUNNING, stats));
    ASSERT_TRUE(up && *up);
    EXPECT_EQ((*up)->name, "wlan0");
    EXPECT_TRUE((*up)->up);
    EXPECT_FALSE((*up)->loopback);
    ASSERT_TRUE((*up)->counters);
    EXPECT_EQ((*up)->counters->bytesIn, 4294967295u);
    EXPECT_EQ((*up)->counters->errorsOut, 6u);

    const auto down = parseLinkReply(linkReply("lo", IFF_LOOPBACK, std::nullopt));
    ASSERT_TRUE(down && *down);
    EXPECT_FALSE((*down)->up);
    EXPECT_TRUE((*down)->loopback);
    EXPECT_FALSE((*down)->counters);
}

TEST(LinkReply, NoSuchDeviceIsNoEntryAndOtherRefusalsAreErrors) {
    const auto missing = parseLinkReply(errorReply(ENODEV));
    ASSERT_TRUE(missing);
    EXPECT_FALSE(*missing);
    EXPECT_EQ(parseLinkReply(errorReply(EPERM)), tl::unexpected(ReadError::permission));
    auto cut = linkReply("eth0", IFF_UP, rtnl_link_stats{});
    cut.resize(cut.size() - 8);
    EXPECT_EQ(parseLinkReply(cut), tl::unexpected(ReadError::parse));
    EXPECT_EQ(parseLinkReply({}), tl::unexpected(ReadError::parse));
}

}  // namespace
}  // namespace ostrel
