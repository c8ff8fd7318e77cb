#include <gtest/gtest.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cstring>
#include <vector>

#include "platform/linux/network.h"

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

}  // namespace
}  // namespace ostrel
