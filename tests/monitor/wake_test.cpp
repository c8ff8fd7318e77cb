#include "monitor_fixture.h"

namespace ostrel::testing {
namespace {

class WakeTest : public MonitorFixture {
  protected:
    HecTestServer server;
};

TEST_F(WakeTest, AWakeSamplesAtOnceThenUploadsOnlyOnceTheNetworkAndTheEndpointAnswer) {
    power->sources = {{.state = "Battery Power", .currentCapacity = 50, .maxCapacity = 100}};
    build();
    wake();  // stopped: nothing
    MonitorConfig config = uploadingTo(server);
    monitor->configure(config);
    monitor->start();
    dispatcher.runUntilIdle();
    EXPECT_EQ(stored().samples.size(), 1u);
    wake();
    dispatcher.runUntilIdle();
    EXPECT_EQ(stored().samples.size(), 2u);
    EXPECT_EQ(paths.created, 1);
    paths.report(false);
    dispatcher.advance(14900ms);
    EXPECT_EQ(paths.active.size(), 1u) << "only a usable path ends the wait";
    EXPECT_TRUE(audits("upload_skipped").empty());
    dispatcher.advance(100ms);
    EXPECT_EQ(log.matching("Network unavailable after wake (timeout: 15s)").size(), 1u);
    EXPECT_EQ(audits("upload_skipped"),
              std::vector<std::string>{"[upload_skipped] reason=network_timeout_after_wake"});
    EXPECT_TRUE(paths.active.empty());
    EXPECT_TRUE(server.events().empty());

    wake();
    paths.report(true);
    dispatcher.runUntilIdle();
    const size_t uploaded = stored().samples.size();
    EXPECT_EQ(uploaded, 10u) << "one per wake, one at start, seven in 15 s at 2 s";
    EXPECT_EQ(server.events().size(), uploaded);
    EXPECT_EQ(monitor->lastUploadCount.get(), static_cast<int64_t>(uploaded));

    config.hecEndpoint = HecTestServer().url();  // nobody listens there any more
    monitor->configure(config);
    wake();
    dispatcher.advance(10s);
    paths.report(true);
    dispatcher.runUntilIdle();
    const auto skipped = audits("upload_skipped");
    ASSERT_EQ(skipped.size(), 2u);
    EXPECT_TRUE(
        skipped[1].starts_with("[upload_skipped] reason=hec_unreachable_after_wake, error="));
    EXPECT_EQ(log.matching("HEC unreachable after wake: ").size(), 1u);
    EXPECT_EQ(server.events().size(), uploaded);
    dispatcher.advance(60s);
    EXPECT_EQ(log.matching("Network unavailable after wake").size(), 1u)
        << "the timer of a wait the path ended stays silent";

    power->sources = {{.state = "AC Power"}};  // an adapter alone is no battery
    EXPECT_EQ(monitor->networkWaitTimeout(), 30.0);
}

// The texts themselves are the client's; here, that the monitor shows them and when.
TEST_F(WakeTest, AConnectionTestShowsTestingThenTheClientsAnswer) {
    build();
    MonitorConfig config = uploadingTo(server);
    config.verifySSL = true;
    monitor->configure(config);
    std::vector<ConnectionStatus> seen;
    auto watch = monitor->connectionStatus.subscribe(
        [&](const ConnectionStatus& status) { seen.push_back(status); });
    const auto test = [&] {
        seen.clear();
        monitor->testConnection();
        dispatcher.runUntilIdle();
        return monitor->connectionStatus.get();
    };
    EXPECT_EQ(test(),
              ConnectionStatus::failed("SSL certificate not trusted — try disabling Verify SSL"));
    EXPECT_EQ(seen.front(), ConnectionStatus::testing());

    config.verifySSL = false;
    monitor->configure(config);
    EXPECT_EQ(test(), ConnectionStatus::connected());
    config.uploadEnabled = false;
    monitor->configure(config);
    EXPECT_EQ(test(), ConnectionStatus::failed("Upload not enabled"));
    EXPECT_EQ(seen,
              (std::vector<ConnectionStatus>{ConnectionStatus::testing(),
                                             ConnectionStatus::failed("Upload not enabled")}));
}

}  // namespace
}  // namespace ostrel::testing
