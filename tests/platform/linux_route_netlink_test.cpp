// Route netlink answers built byte by byte as the kernel sends them.
#include <gtest/gtest.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "platform/linux/route_netlink.h"
#include "platform/netlink_message.h"

namespace ostrel {
namespace {

using testing::joined;
using Message = testing::NetlinkMessage;

std::vector<char> route(int32_t index, uint32_t metric, uint8_t dstLength = 0,
                        uint8_t type = RTN_UNICAST, unsigned flags = 0,
                        uint32_t table = RT_TABLE_MAIN) {
    const rtmsg header{.rtm_family = AF_INET,
                       .rtm_dst_len = dstLength,
                       .rtm_table = 0,
                       .rtm_type = type,
                       .rtm_flags = flags};
    return Message(RTM_NEWROUTE, header)
        .attribute(RTA_TABLE, table)
        .attribute(RTA_OIF, index)
        .attribute(RTA_PRIORITY, metric)
        .bytes();
}

const std::vector<char> done = Message(NLMSG_DONE, int32_t{0}).bytes();

TEST(DefaultRouteFinder, KeepsTheUsableMainTableDefaultOfLowestMetric) {
    const auto dump =
        joined({route(3, 600), route(4, 0, 24), route(5, 0, 0, RTN_UNICAST, RTNH_F_LINKDOWN),
                route(1, 0, 0, RTN_UNREACHABLE), route(6, 0, 0, RTN_UNICAST, 0, 1000),
                route(2, 100), done});
    DefaultRouteFinder finder;
    // A dump may arrive in several chunks.
    EXPECT_EQ(finder.feed(route(7, 700)), DefaultRouteFinder::Step::more);
    EXPECT_EQ(finder.feed(dump), DefaultRouteFinder::Step::done);
    EXPECT_EQ(finder.interfaceIndex(), 2);
}

std::vector<char> linkReply(const char* name, unsigned flags, const rtnl_link_stats* stats,
                            size_t cut = 0) {
    Message message(RTM_NEWLINK, ifinfomsg{.ifi_flags = flags});
    message.attribute(IFLA_IFNAME, *name, std::strlen(name) + 1);
    if (stats) message.attribute(IFLA_STATS, *stats);
    return message.bytes(cut);
}

TEST(LinkReply, GivesFlagsAndThe32BitStatisticsOfTheInterface) {
    const rtnl_link_stats stats{.rx_packets = 1,
                                .tx_packets = 2,
                                .rx_bytes = 4294967295u,
                                .tx_bytes = 4,
                                .rx_errors = 5,
                                .tx_errors = 6};
    EXPECT_EQ(parseLinkReply(linkReply("wlan0", IFF_UP | IFF_RUNNING, &stats)),
              (LinkEntry{"wlan0", true, false, InterfaceCounters{1, 2, 4294967295u, 4, 5, 6}}));
    EXPECT_EQ(parseLinkReply(linkReply("lo", IFF_LOOPBACK, nullptr)),
              (LinkEntry{"lo", false, true, std::nullopt}));
}

TEST(NetlinkAnswers, TruncatedOrRefusedAnswersAreErrorsAndNoSuchDeviceIsNoEntry) {
    const auto error = [](int code) {
        return Message(NLMSG_ERROR, nlmsgerr{.error = -code}).bytes();
    };
    const auto missing = parseLinkReply(error(ENODEV));
    ASSERT_TRUE(missing);
    EXPECT_FALSE(*missing);
    EXPECT_EQ(parseLinkReply(error(EPERM)), tl::unexpected(ReadError::permission));
    EXPECT_EQ(parseLinkReply(linkReply("eth0", IFF_UP, nullptr, 8)),
              tl::unexpected(ReadError::parse));
    EXPECT_EQ(parseLinkReply({}), tl::unexpected(ReadError::parse));

    EXPECT_EQ(DefaultRouteFinder().feed(error(EPERM)), DefaultRouteFinder::Step::failed);
    auto cut = route(3, 0);
    cut.resize(cut.size() - 4);  // the header claims more than the chunk holds
    EXPECT_EQ(DefaultRouteFinder().feed(cut), DefaultRouteFinder::Step::failed);
}

}  // namespace
}  // namespace ostrel
