#include "collectors/network_collector.h"

#include <gtest/gtest.h>

#include "collectors/fake_sources.h"
#include "support/log_recorder.h"

namespace ostrel {
namespace {

LinkEntry link(std::string name, bool up, bool loopback = false,
               std::optional<InterfaceCounters> counters = std::nullopt) {
    return {std::move(name), up, loopback, counters};
}

struct NetworkCollectorTest : ::testing::Test {
    NetworkMetrics collect(std::optional<std::string> route,
                           tl::expected<std::vector<LinkEntry>, ReadError> entries) {
        source.route = std::move(route);
        source.entries = std::move(entries);
        return collector.collect();
    }

    testing::LogRecorder log;
    testing::FakeNetworkSource source;
    NetworkCollector collector{source};
};

TEST_F(NetworkCollectorTest, RoutedInterfaceWithRawCountersReachableOnlyWhenItsLinkIsUp) {
    const std::vector<LinkEntry> links = {
        link("lo", true, true, InterfaceCounters{1, 1, 1, 1, 0, 0}),
        link("eth0", true, false, InterfaceCounters{9, 9, 9, 9, 9, 9}),
        link("wlan0", true, false, InterfaceCounters{10, 20, 4294967295u, 40, 1, 2}),
    };
    // 32 bits as reported, never sign-extended.
    EXPECT_EQ(collect("wlan0", links), (NetworkMetrics{.interface = "wlan0",
                                                       .packetsIn = 10,
                                                       .packetsOut = 20,
                                                       .bytesIn = 4294967295,
                                                       .bytesOut = 40,
                                                       .errorsIn = 1,
                                                       .errorsOut = 2,
                                                       .internetConnected = true}));
    EXPECT_EQ(collect("eth0", std::vector{link("eth0", false)}).internetConnected, false);
    EXPECT_EQ(collect(std::nullopt, std::vector{link("eth0", true)}).internetConnected, false);
}

TEST_F(NetworkCollectorTest, WithoutARouteFallsBackToTheFirstActiveInterfaceThenEn0) {
    const auto chosen = [&](std::vector<LinkEntry> links) {
        return *collect(std::nullopt, std::move(links)).interface;
    };
    EXPECT_EQ(chosen({link("lo0", true, true), link("utun0", true)}), "utun0");
    EXPECT_EQ(chosen({link("lo0", true, true)}), "en0");
    EXPECT_EQ(chosen({link("wg0", true), link("enp3s0", true)}), "enp3s0");
    EXPECT_EQ(chosen({link("en1", false), link("lo1", true), link("tun0", true)}), "tun0");
}

TEST_F(NetworkCollectorTest, FailedInterfaceReadKeepsTheInterfaceButNotItsCounters) {
    EXPECT_EQ(collect("eth0", tl::unexpected(ReadError::unsupported)),
              (NetworkMetrics{.interface = "eth0", .internetConnected = false}));
    EXPECT_EQ(collect(std::nullopt, std::vector<LinkEntry>{}).interface, "en0");
    EXPECT_EQ(collect(std::nullopt, tl::unexpected(ReadError::permission)).interface, "en0");
    const auto entries = log.entries();
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].message, "getifaddrs failed");
    EXPECT_EQ(entries[0].level, Logger::Level::debug);
    EXPECT_EQ(entries[0].category, Logger::Category::network);

    // A routed interface that does not exist, or exists without counters, is not logged.
    log.clear();
    EXPECT_FALSE(collect("eth0", std::vector{link("eth1", true)}).packetsIn);
    EXPECT_FALSE(collect("eth1", std::vector{link("eth1", true)}).packetsIn);
    EXPECT_TRUE(log.entries().empty());
}

}  // namespace
}  // namespace ostrel
