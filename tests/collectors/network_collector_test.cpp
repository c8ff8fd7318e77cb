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

TEST(NetworkCollector, ReportsTheRoutedInterfaceWithItsRawCounters) {
    testing::FakeNetworkSource source;
    source.route = "wlan0";
    source.entries = std::vector<LinkEntry>{
        link("lo", true, true, InterfaceCounters{1, 1, 1, 1, 0, 0}),
        link("eth0", true, false, InterfaceCounters{9, 9, 9, 9, 9, 9}),
        link("wlan0", true, false, InterfaceCounters{10, 20, 4294967295u, 40, 1, 2}),
    };
    NetworkCollector collector(source);

    const NetworkMetrics metrics = collector.collect();
    EXPECT_EQ(metrics.interface, "wlan0");
    EXPECT_EQ(metrics.packetsIn, 10);
    EXPECT_EQ(metrics.packetsOut, 20);
    EXPECT_EQ(metrics.bytesIn, 4294967295);  // 32 bits as reported, never sign-extended
    EXPECT_EQ(metrics.bytesOut, 40);
    EXPECT_EQ(metrics.errorsIn, 1);
    EXPECT_EQ(metrics.errorsOut, 2);
    EXPECT_EQ(metrics.internetConnected, true);
}

TEST(NetworkCollector, ReachableOnlyWithADefaultRouteOnALinkThatIsUp) {
    testing::FakeNetworkSource source;
    NetworkCollector collector(source);

    source.route = "eth0";
    source.entries = std::vector<LinkEntry>{link("eth0", false)};
    EXPECT_EQ(collector.collect().internetConnected, false);

    source.route.reset();
    source.entries = std::vector<LinkEntry>{link("eth0", true)};
    EXPECT_EQ(collector.collect().internetConnected, false);

    source.route = "eth0";
    source.entries = tl::unexpected(ReadError::permission);
    EXPECT_EQ(collector.collect().internetConnected, false);
}

TEST(NetworkCollector, WithoutARouteFallsBackToTheFirstActiveInterfaceThenEn0) {
    testing::FakeNetworkSource source;
    NetworkCollector collector(source);
    const auto chosen = [&](std::vector<LinkEntry> links) {
        source.entries = std::move(links);
        return *collector.collect().interface;
    };
    EXPECT_EQ(chosen({link("lo0", true, true), link("utun0", true)}), "utun0");
    EXPECT_EQ(chosen({link("lo0", true, true)}), "en0");
    EXPECT_EQ(chosen({link("wg0", true), link("enp3s0", true)}), "enp3s0");
    EXPECT_EQ(chosen({link("en1", false), link("lo1", true), link("tun0", true)}), "tun0");
}

TEST(NetworkCollector, FailedInterfaceListKeepsTheInterfaceButNotItsCounters) {
    testing::LogRecorder log;
    testing::FakeNetworkSource source;
    source.route = "eth0";
    NetworkCollector collector(source);

    for (auto failure : {tl::expected<std::vector<LinkEntry>, ReadError>(std::vector<LinkEntry>{}),
                         tl::expected<std::vector<LinkEntry>, ReadError>(
                             tl::unexpected(ReadError::unsupported))}) {
        source.entries = failure;
        const NetworkMetrics metrics = collector.collect();
        EXPECT_EQ(metrics.interface, "eth0");
        EXPECT_FALSE(metrics.packetsIn);
        EXPECT_FALSE(metrics.errorsOut);
    }
    const auto entries = log.entries();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].message, "getifaddrs failed");
    EXPECT_EQ(entries[0].category, Logger::Category::network);

    // An interface that exists without counters, or does not exist, is not logged.
    log.clear();
    source.entries = std::vector<LinkEntry>{link("eth1", true)};
    EXPECT_FALSE(collector.collect().packetsIn);
    EXPECT_TRUE(log.entries().empty());
}

}  // namespace
}  // namespace ostrel
