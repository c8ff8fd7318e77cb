#include "upload/splunk_hec_client.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/hec_test_server.h"
#include "support/log_recorder.h"
#include "support/sample_records.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using testing::HecTestServer;
using testing::LogRecorder;

struct Line {
    Date when;
    HECBatchEntry entry;
    std::string json;
};

// Samples two seconds apart with a watched-process event after every tenth, as a queue file
// holds them.
std::vector<Line> queueFile(int samples) {
    std::vector<Line> lines;
    const Date start = Date(1763190252345ms);
    for (int i = 0; i < samples; ++i) {
        const Date when = start + i * 2s + std::chrono::milliseconds(i * 7 % 1000);
        const SystemMetrics sample = testing::realisticSample(when, i);
        lines.push_back({when, {sample, sample.timestamp, sample.hostname}, *encodeJson(sample)});
        if (i % 10 == 9) {
            const WatchedProcessEvent event = testing::realisticWatchedEvent(when, i);
            lines.push_back({when, {event, event.timestamp, event.hostname}, *encodeJson(event)});
        }
    }
    return lines;
}

std::vector<HECBatchEntry> entriesOf(const std::vector<Line>& lines) {
    std::vector<HECBatchEntry> entries;
    for (const auto& line : lines)
        entries.push_back(line.entry);
    return entries;
}

double secondsOf(Date date) {
    return std::chrono::duration<double>(date.time_since_epoch()).count();
}

class SplunkHECClientTest : public ::testing::Test {
  protected:
    std::unique_ptr<SplunkHECClient> client(bool verifySSL = false, std::string token = {},
                                            std::string path = "/services/collector/event",
                                            HECTimeouts timeouts = {}) {
        auto made = SplunkHECClient::create(
            server.url(path), token.empty() ? server.token() : token, "endpoint_metrics",
            "macos:ostrel", verifySSL, {.timeouts = timeouts});
        EXPECT_TRUE(made) << made.error().errorDescription();
        return made ? std::move(*made) : nullptr;
    }

    HecTestServer server;
    LogRecorder log;
};

TEST_F(SplunkHECClientTest, BatchArrivesWholeInOrderWithTheTimeOfEachLine) {
    const auto lines = queueFile(150);
    const auto sent = client()->sendBatch(entriesOf(lines));
    ASSERT_TRUE(sent) << failureDescription(sent.error());
    EXPECT_EQ(*sent, 165);

    const auto exchanges = server.exchanges();
    ASSERT_EQ(exchanges.size(), 1u);
    const auto& request = exchanges[0].request;
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/services/collector/event");
    EXPECT_EQ(request.header("Authorization"), "Splunk " + server.token());
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_EQ(request.header("Content-Encoding"), std::nullopt);

    const auto events = server.events();
    ASSERT_EQ(events.size(), lines.size());
    for (size_t i = 0; i < lines.size(); ++i) {
        ASSERT_TRUE(events[i].time) << i;
        EXPECT_NEAR(*events[i].time, secondsOf(lines[i].when), 0.001) << i;
        EXPECT_EQ(events[i].event, lines[i].json) << i;
        EXPECT_EQ(events[i].host, "ops-laptop-07.corp.example.com");
        EXPECT_EQ(events[i].source, "ostrel");
        EXPECT_EQ(events[i].sourcetype, "macos:ostrel");
        EXPECT_EQ(events[i].index, "endpoint_metrics");
    }
    EXPECT_EQ(log.matching("HEC batch sent: 165 events, HTTP 200").size(), 1u);
}

TEST_F(SplunkHECClientTest, OneCycleKeepsOneConnection) {
    auto hec = client(false, {}, "/services/collector");
    const auto lines = queueFile(3);
    ASSERT_TRUE(hec->testConnection());
    ASSERT_TRUE(hec->sendBatch(entriesOf(lines)));
    ASSERT_TRUE(hec->sendBatch(entriesOf(lines)));

    const auto exchanges = server.exchanges();
    ASSERT_EQ(exchanges.size(), 3u);
    EXPECT_EQ(server.connectionsAccepted(), 1);
    // The probe carries neither token nor body.
    EXPECT_EQ(exchanges[0].request.method, "GET");
    EXPECT_EQ(exchanges[0].request.target, "/services/collector/health");
    EXPECT_EQ(exchanges[0].request.header("Authorization"), std::nullopt);
    EXPECT_EQ(exchanges[0].request.body, "");
    EXPECT_EQ(exchanges[0].answer.body, R"({"text":"HEC is healthy","code":17})");
    EXPECT_EQ(
        log.matching("Testing HEC health endpoint: " + server.url("/services/collector/health"))
            .size(),
        1u);
    EXPECT_EQ(log.matching("HEC health check passed").size(), 1u);
}

TEST_F(SplunkHECClientTest, RefusalsComeBackAsTheirOwnErrors) {
    const auto lines = queueFile(2);
    const auto entries = entriesOf(lines);
    const auto errorOf = [&](SplunkHECClient& hec) {
        const auto sent = hec.sendBatch(entries);
        EXPECT_FALSE(sent);
        return sent ? HECError::invalidResponse() : std::get<HECError>(sent.error());
    };

    EXPECT_EQ(errorOf(*client(false, "wrong-token")),
              HECError::httpError(403, R"({"text":"Invalid token","code":4})"));
    // Blank is trimmed to empty; refusing an empty token is left to the collector.
    EXPECT_EQ(errorOf(*client(false, " \n")),
              HECError::httpError(401, R"({"text":"Token is required","code":2})"));

    auto hec = client();
    server.answerAsBusyCollector();
    EXPECT_EQ(errorOf(*hec), HECError::httpError(503, R"({"text":"Server is busy","code":9})"));
    const auto probe = hec->testConnection();
    ASSERT_FALSE(probe);
    EXPECT_EQ(connectionTestText(probe.error()),
              R"(HTTP 503: {"text":"HEC is unhealthy, queues are full","code":18})");
    EXPECT_EQ(log.matching("HEC health check failed: HTTP 503 — {").size(), 1u);

    server.answerWith(200, R"({"text":"No data","code":5})");
    EXPECT_EQ(errorOf(*hec), HECError::hecRejected(5, "No data"));

    server.answerWithProxyPage();
    const HECError proxied = errorOf(*hec);
    EXPECT_EQ(proxied.code(), -1);
    EXPECT_EQ(proxied.message(),
              "Non-JSON response: " + server.exchanges().back().answer.body.substr(0, 200));

    // No failure changes the client.
    server.answerAsCollector();
    EXPECT_TRUE(hec->sendBatch(entries));
}

TEST_F(SplunkHECClientTest, BatchIsOneRequestAndAFailedRecordSendsNothing) {
    auto hec = client();
    EXPECT_EQ(hec->sendBatch({}), 0);
    EXPECT_TRUE(server.exchanges().empty());

    auto entries = entriesOf(queueFile(1000));
    entries.erase(entries.begin() + 1000, entries.end());
    ASSERT_EQ(hec->sendBatch(entries), 1000);
    EXPECT_EQ(server.exchanges().size(), 1u);
    EXPECT_EQ(server.events().size(), 1000u);

    SystemMetrics broken = testing::realisticSample(Date(1763190252345ms), 1);
    broken.memory->freeMB = std::numeric_limits<double>::infinity();
    entries[998] = {broken, broken.timestamp, broken.hostname};
    const auto sent = hec->sendBatch(entries);
    ASSERT_FALSE(sent);
    EXPECT_TRUE(std::holds_alternative<JsonError>(sent.error()));
    EXPECT_EQ(server.exchanges().size(), 1u);
}

TEST_F(SplunkHECClientTest, VerifiedClientRefusesTheSelfSignedCertificate) {
    auto hec = client(true);
    const auto probe = hec->testConnection();
    ASSERT_FALSE(probe);
    ASSERT_TRUE(std::holds_alternative<TransportError>(probe.error()));
    EXPECT_EQ(std::get<TransportError>(probe.error()).curlCode, CURLE_PEER_FAILED_VERIFICATION);
    EXPECT_EQ(connectionTestText(probe.error()),
              "SSL certificate not trusted — try disabling Verify SSL");
    EXPECT_EQ(log.matching("HEC health check failed: SSL certificate problem").size(), 1u);

    EXPECT_FALSE(hec->sendBatch(entriesOf(queueFile(1))));
    EXPECT_TRUE(server.exchanges().empty());
}

TEST_F(SplunkHECClientTest, StalledOrAbsentCollectorEndsInATransportError) {
    auto hec = client(false, {}, "/services/collector/event", {.batch = 300ms, .health = 300ms});
    server.stall();
    const auto sent = hec->sendBatch(entriesOf(queueFile(1)));
    ASSERT_FALSE(sent);
    EXPECT_EQ(connectionTestText(sent.error()), "Connection timed out");
    const auto probe = hec->testConnection();
    ASSERT_FALSE(probe);
    EXPECT_EQ(connectionTestText(probe.error()), "Connection timed out");

    std::string closedPort;
    {
        HecTestServer gone;
        closedPort = gone.url();
    }
    auto orphan = SplunkHECClient::create(closedPort, "t", "main", "s", false);
    ASSERT_TRUE(orphan);
    const auto unreachable = (*orphan)->testConnection();
    ASSERT_FALSE(unreachable);
    EXPECT_EQ(connectionTestText(unreachable.error()), "Endpoint unreachable");
}

TEST_F(SplunkHECClientTest, UncheckedCertificatesAreAnnouncedOncePerProcess) {
    SplunkHECClient::sslWarningLogged = false;
    auto verified = client(true);
    auto first = client(false);
    auto second = client(false);
    (void)verified->testConnection();
    EXPECT_TRUE(first->testConnection());
    EXPECT_TRUE(second->testConnection());
    EXPECT_TRUE(first->testConnection());
    EXPECT_EQ(log.matching("SSL certificate verification disabled for HEC endpoint").size(), 1u);
    EXPECT_EQ(
        log.matching("HEC client initialized — endpoint: " + server.url() + ", verifySSL: false")
            .size(),
        2u);
}

}  // namespace
}  // namespace ostrel
