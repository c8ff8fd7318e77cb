#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "monitor_fixture.h"
#include "support/hec_test_server.h"

namespace ostrel::testing {
namespace {

// An endpoint on a local port that nobody listens on.
std::string deadEndpoint() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}};
    socklen_t length = sizeof address;
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), length);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    ::close(fd);
    return "https://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) +
           "/services/collector/event";
}

class WakeTest : public MonitorFixture {
  protected:
    // Running, with upload on towards `endpoint`, and one stored sample.
    void runWithUploadTo(const std::string& endpoint, bool verifySSL = false) {
        build();
        MonitorConfig config;
        config.uploadEnabled = true;
        config.hecEndpoint = endpoint;
        config.hecToken = server.token();
        config.verifySSL = verifySSL;
        monitor->configure(config);
        monitor->start();
        dispatcher.runUntilIdle();
    }

    HecTestServer server;
};

TEST_F(WakeTest, AWakeSamplesAtOnceAndWaitsForTheNetworkByThePowerSourceList) {
    power->sources = {{.state = "Battery Power", .currentCapacity = 50, .maxCapacity = 100}};
    build();
    wake();  // stopped: nothing
    MonitorConfig config;
    config.uploadEnabled = true;
    monitor->configure(config);
    monitor->start();
    dispatcher.runUntilIdle();
    EXPECT_EQ(stored().samples.size(), 1u);
    wake();
    dispatcher.runUntilIdle();
    EXPECT_EQ(stored().samples.size(), 2u);
    EXPECT_EQ(paths.created, 1);
    dispatcher.advance(14900ms);
    EXPECT_TRUE(audits("upload_skipped").empty());
    dispatcher.advance(100ms);
    EXPECT_EQ(log.matching("Network unavailable after wake (timeout: 15s)").size(), 1u);
    EXPECT_EQ(audits("upload_skipped"),
              std::vector<std::string>{"[upload_skipped] reason=network_timeout_after_wake"});
    EXPECT_TRUE(paths.active.empty());

    power->sources = {{.state = "AC Power"}};  // an adapter alone is no battery
    EXPECT_EQ(monitor->networkWaitTimeout(), 30.0);
}

TEST_F(WakeTest, ANetworkBackUploadsAtOnceOnlyWhileTheEndpointAnswers) {
    runWithUploadTo(server.url());
    wake();
    paths.report(false);
    dispatcher.runUntilIdle();
    EXPECT_EQ(paths.active.size(), 1u) << "only a usable path ends the wait";
    paths.report(true);
    dispatcher.runUntilIdle();
    EXPECT_EQ(server.events().size(), 2u);
    EXPECT_EQ(monitor->lastUploadCount.get(), 2);

    MonitorConfig config = monitor->currentConfig();
    config.hecEndpoint = deadEndpoint();
    monitor->configure(config);
    wake();
    dispatcher.advance(10s);
    paths.report(true);
    dispatcher.runUntilIdle();
    const auto skipped = audits("upload_skipped");
    ASSERT_EQ(skipped.size(), 1u);
    EXPECT_TRUE(
        skipped[0].starts_with("[upload_skipped] reason=hec_unreachable_after_wake, error="));
    EXPECT_EQ(log.matching("HEC unreachable after wake: ").size(), 1u);
    EXPECT_EQ(server.events().size(), 2u);
    dispatcher.advance(60s);
    EXPECT_TRUE(log.matching("Network unavailable after wake").empty());
}

TEST_F(WakeTest, ConnectionTestsEndInTheTextsAUserCanActOn) {
    runWithUploadTo(server.url(), true);
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

    MonitorConfig config = monitor->currentConfig();
    config.verifySSL = false;
    monitor->configure(config);
    EXPECT_EQ(test(), ConnectionStatus::connected());
    server.stall();
    EXPECT_EQ(test(), ConnectionStatus::failed("Connection timed out"));
    config.hecEndpoint = deadEndpoint();
    monitor->configure(config);
    EXPECT_EQ(test(), ConnectionStatus::failed("Endpoint unreachable"));
    config.uploadEnabled = false;
    monitor->configure(config);
    EXPECT_EQ(test(), ConnectionStatus::failed("Upload not enabled"));
    EXPECT_EQ(seen,
              (std::vector<ConnectionStatus>{ConnectionStatus::testing(),
                                             ConnectionStatus::failed("Upload not enabled")}));
}

}  // namespace
}  // namespace ostrel::testing
