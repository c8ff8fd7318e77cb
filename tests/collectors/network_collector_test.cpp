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

TEST(NetworkCollector, FailedInterfaceReadKeepsTheInterfaceButNotItsCounters) {
    testing::LogRecorder log;
    testing::FakeNetworkSource source;
    NetworkCollector collector(source);
    const auto collect = [&](std::optional<std::string> route,
                             tl::expected<std::vector<LinkEntry>, ReadError> entries) {
        source.route = std::move(route);
        source.entries = std::move(entries);
        return collector.collect();
    };

    const NetworkMetrics refused = collect("eth0", tl::unexpected(ReadError::unsupported));
    EXPECT_EQ(refused.interface, "eth0");
    EXPECT_FALSE(refused.packetsIn);
    EXPECT_FALSE(refused.errorsOut);
    EXPECT_EQ(refused.internetConnected, false);
    EXPECT_EQ(collect(std::nullopt, std::vector<LinkEntry>{}).interface, "en0");
    EXPECT_EQ(collect(std::nullopt, tl::unexpected(ReadError::permission)).interface, "en0");
    const auto entries = log.entries();
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].message, "getifaddrs failed");
    EXPECT_EQ(entries[0].level, Logger::Level::debug);
    EXPECT_EQ(entries[0].category, Logger::Category::network);

    // A routed interface that does not exist, or exists without counters, is not logged.
    log.clear();
    EXPECT_FALSE(collect("eth0", std::vector<LinkEntry>{link("eth1", true)}).packetsIn);
    EXPECT_FALSE(collect("eth1", std::vector<LinkEntry>{link("eth1", true)}).packetsIn);
    EXPECT_TRUE(log.entries().empty());
}

}  // namespace
}  // namespace ostrel
