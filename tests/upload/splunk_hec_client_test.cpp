#include "upload/splunk_hec_client.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <limits>

#include "support/hec_test_server.h"
#include "support/log_recorder.h"
#include "support/sample_records.h"
#include "upload/curl_transport.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using testing::HecTestServer;

// Samples two seconds apart with a watched-process event after every tenth, as a queue file
// holds them, with the moment and the line of each.
struct QueueFile {
    std::vector<HECBatchEntry> entries;
    std::vector<Date> times;
    std::vector<std::string> lines;

    explicit QueueFile(int samples) {
        for (int i = 0; i < samples; ++i) {
            const Date when =
                Date(1763190252345ms) + i * 2s + std::chrono::milliseconds(i * 7 % 1000);
            add(testing::realisticSample(when, i), when);
            if (i % 10 == 9) add(testing::realisticWatchedEvent(when, i), when);
        }
    }
    template <class Record>
    void add(const Record& record, Date when) {
        entries.push_back({record, record.timestamp, record.hostname});
        times.push_back(when);
        lines.push_back(*encodeJson(record));
    }
};

class SplunkHECClientTest : public ::testing::Test {
  protected:
    std::unique_ptr<SplunkHECClient> client(bool verifySSL = false, std::string token = {},
                                            HECTimeouts timeouts = {}) {
        auto made = SplunkHECClient::create(server.url(), token.empty() ? server.token() : token,
                                            "endpoint_metrics", "macos:ostrel", verifySSL,
                                            {.timeouts = timeouts});
        EXPECT_TRUE(made) << made.error().errorDescription();
        return made ? std::move(*made) : nullptr;
    }

    // How many log messages contain `text`.
    size_t logged(const std::string& text) const { return log.matching(text).size(); }

    HecTestServer server;
    testing::LogRecorder log;
};

// The test collector must answer as the real one documents, or every test built on it proves
// nothing. A wrong token is checked through the client below.
TEST_F(SplunkHECClientTest, TestCollectorAnswersWithTheCollectorsCodes) {
    CurlTransport transport{false};
    const std::string auth = "Authorization: Splunk " + server.token();
    const auto post = [&](std::string body, std::string header,
                          std::string_view path = "/services/collector/event") {
        auto response = transport.perform(
            {.method = "POST",
             .url = server.url(path),
             .headers = header.empty() ? std::vector<std::string>{} : std::vector{header},
             .body = std::move(body),
             .idleTimeout = 5s});
        EXPECT_TRUE(response) << response.error().description;
        return response.value_or(HttpResponse{});
    };
    const std::string event = R"({"event":{"a":1}})";
    const std::string invalidSecond =
        R"({"text":"Invalid data format","code":6,"invalid-event-number":1})";
    const std::tuple<std::string, std::string, long, std::string> cases[] = {
        {event, "", 401, R"({"text":"Token is required","code":2})"},
        {event, "Authorization: Bearer x", 401, R"({"text":"Invalid authorization","code":3})"},
        {" \n", auth, 400, R"({"text":"No data","code":5})"},
        {event + R"({"event":1)", auth, 400, invalidSecond},
        {event + "[1]", auth, 400, invalidSecond},
        {R"({"time":1,"host":"h"})", auth, 400,
         R"({"text":"Event field is required","code":12,"invalid-event-number":0})"},
        {event + R"({"event":" "})", auth, 400,
         R"({"text":"Event field cannot be blank","code":13,"invalid-event-number":1})"},
    };
    for (const auto& [body, header, status, answer] : cases) {
        const auto response = post(body, header);
        EXPECT_EQ(response.status, status) << body;
        EXPECT_EQ(response.body, answer) << body;
    }
    EXPECT_TRUE(server.events().empty());
    EXPECT_EQ(post(event, auth, "/services/other").status, 404);
    const auto health = transport.perform(
        {.method = "GET", .url = server.url("/services/collector/health/1.0"), .idleTimeout = 5s});
    EXPECT_EQ(health->body, R"({"text":"HEC is healthy","code":17})");

    // One object after another, with braces and quotes inside strings.
    const std::string body =
        R"({"time":"1763190252.5","event":"text with } and \" inside","host":"a"})"
        "\n "
        R"({"event":[1,{"b":"}"}],"index":"x"}{"event":{"nested":{"c":[]}},"time":12.25})";
    EXPECT_EQ(post(body, auth, "/services/collector").body, R"({"text":"Success","code":0})");
    const auto events = server.events();
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[0].time, 1763190252.5);
    EXPECT_EQ(events[0].event, R"("text with } and \" inside")");
    EXPECT_EQ(events[0].host, "a");
    EXPECT_EQ(events[1].event, R"([1,{"b":"}"}])");
    EXPECT_EQ(events[1].index, "x");
    EXPECT_EQ(events[2].event, R"({"nested":{"c":[]}})");
    EXPECT_EQ(events[2].time, 12.25);
}

// One upload cycle: a probe, then the queue file as one request, on one connection.
TEST_F(SplunkHECClientTest, BatchArrivesWholeInOrderWithTheTimeOfEachLine) {
    auto hec = client();
    ASSERT_TRUE(hec->testConnection());
    EXPECT_EQ(hec->sendBatch({}), 0);
    QueueFile queue(150);
    const auto sent = hec->sendBatch(queue.entries);
    ASSERT_TRUE(sent) << failureDescription(sent.error());
    EXPECT_EQ(*sent, 165);

    const auto exchanges = server.exchanges();
    ASSERT_EQ(exchanges.size(), 2u);
    EXPECT_EQ(server.connectionsAccepted(), 1);
    // The probe carries neither token nor body.
    const auto& probe = exchanges[0].request;
    EXPECT_EQ(probe.method, "GET");
    EXPECT_EQ(probe.target, "/services/collector/health");
    EXPECT_EQ(probe.header("Authorization"), std::nullopt);
    EXPECT_EQ(probe.body, "");
    EXPECT_EQ(logged("Testing HEC health endpoint: " + server.url("/services/collector/health")),
              1u);
    EXPECT_EQ(logged("HEC health check passed"), 1u);

    const auto& request = exchanges[1].request;
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/services/collector/event");
    EXPECT_EQ(request.header("Authorization"), "Splunk " + server.token());
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_EQ(request.header("Content-Encoding"), std::nullopt);
    const auto events = server.events();
    ASSERT_EQ(events.size(), queue.lines.size());
    for (size_t i = 0; i < events.size(); ++i) {
        ASSERT_TRUE(events[i].time) << i;
        EXPECT_NEAR(*events[i].time,
                    std::chrono::duration<double>(queue.times[i].time_since_epoch()).count(), 0.001)
            << i;
        EXPECT_EQ(events[i].event, queue.lines[i]) << i;
        EXPECT_EQ(events[i].host, "ops-laptop-07.corp.example.com");
        EXPECT_EQ(events[i].source, "ostrel");
        EXPECT_EQ(events[i].sourcetype, "macos:ostrel");
        EXPECT_EQ(events[i].index, "endpoint_metrics");
    }
    EXPECT_EQ(logged("HEC batch sent: 165 events, HTTP 200"), 1u);

    // One record that cannot be encoded stops the batch before anything is sent.
    SystemMetrics broken = testing::realisticSample(Date(1763190252345ms), 1);
    broken.memory->freeMB = std::numeric_limits<double>::infinity();
    queue.entries[148] = {broken, broken.timestamp, broken.hostname};
    const auto refused = hec->sendBatch(queue.entries);
    ASSERT_FALSE(refused);
    EXPECT_TRUE(std::holds_alternative<JsonError>(refused.error()));
    EXPECT_EQ(server.exchanges().size(), 2u);
}

TEST_F(SplunkHECClientTest, RefusalsComeBackAsTheirOwnErrors) {
    const QueueFile queue(2);
    const auto errorOf = [&](SplunkHECClient& hec) {
        const auto sent = hec.sendBatch(queue.entries);
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
    EXPECT_EQ(logged("HEC health check failed: HTTP 503 — {"), 1u);

    // A success status is not enough: a non-zero code, or a proxy's page, is a refusal.
    server.answerWith(200, R"({"text":"No data","code":5})");
    EXPECT_EQ(errorOf(*hec), HECError::hecRejected(5, "No data"));
    server.answerWithProxyPage();
    const HECError proxied = errorOf(*hec);
    EXPECT_EQ(proxied.code(), -1);
    EXPECT_EQ(proxied.message(),
              "Non-JSON response: " + server.exchanges().back().answer.body.substr(0, 200));

    // No failure changes the client.
    server.answerAsCollector();
    EXPECT_TRUE(hec->sendBatch(queue.entries));
}

TEST_F(SplunkHECClientTest, CertificatesAreCheckedUnlessTurnedOffWhichIsAnnouncedOnce) {
    SplunkHECClient::sslWarningLogged = false;
    auto verified = client(true);
    const auto probe = verified->testConnection();
    ASSERT_FALSE(probe);
    ASSERT_TRUE(std::holds_alternative<TransportError>(probe.error()));
    EXPECT_EQ(std::get<TransportError>(probe.error()).curlCode, CURLE_PEER_FAILED_VERIFICATION);
    EXPECT_EQ(connectionTestText(probe.error()),
              "SSL certificate not trusted — try disabling Verify SSL");
    EXPECT_EQ(logged("HEC health check failed: SSL certificate problem"), 1u);
    EXPECT_FALSE(verified->sendBatch(QueueFile(1).entries));
    EXPECT_TRUE(server.exchanges().empty());

    auto first = client(false);
    auto second = client(false);
    EXPECT_TRUE(first->testConnection());
    EXPECT_TRUE(second->testConnection());
    EXPECT_TRUE(first->testConnection());
    EXPECT_EQ(logged("SSL certificate verification disabled for HEC endpoint"), 1u);
    EXPECT_EQ(logged("HEC client initialized — endpoint: " + server.url() + ", verifySSL: false"),
              2u);
}

// The timeouts are idle timeouts: an answer that takes twice the timeout, but never pauses for
// long, arrives; one that never moves fails.
TEST_F(SplunkHECClientTest, SlowButMovingCollectorSucceedsStalledOrAbsentOneTimesOut) {
    auto hec = client(false, {}, {.batch = 1s, .health = 1s});
    server.answerSlowly(80ms);  // 27 bytes of answer body: over 2 s in all
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(hec->sendBatch(QueueFile(3).entries), 3);
    EXPECT_GT(std::chrono::steady_clock::now() - started, 1500ms);

    server.stall();
    const auto sent = hec->sendBatch(QueueFile(1).entries);
    ASSERT_FALSE(sent);
    EXPECT_EQ(connectionTestText(sent.error()), "Connection timed out");
    const auto probe = hec->testConnection();
    ASSERT_FALSE(probe);
    EXPECT_EQ(connectionTestText(probe.error()), "Connection timed out");

    const std::string closedPort = HecTestServer().url();
    auto orphan = SplunkHECClient::create(closedPort, "t", "main", "s", false);
    ASSERT_TRUE(orphan);
    const auto unreachable = (*orphan)->testConnection();
    ASSERT_FALSE(unreachable);
    EXPECT_EQ(connectionTestText(unreachable.error()), "Endpoint unreachable");
}

}  // namespace
}  // namespace ostrel
