// The pure pieces of the collector's protocol: the batch body, the endpoint, the verdict on
// an answer and the texts of each failure.
#include <curl/curl.h>
#include <gtest/gtest.h>

#include <optional>

#include "support/sample_records.h"
#include "support/virtual_dispatcher.h"
#include "upload/hec_batch_encoder.h"
#include "upload/hec_endpoint.h"
#include "upload/hec_response.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using Kind = HECError::Kind;

TEST(HecBatchEncoder, EventsAreEnvelopesJoinedWithNothingBetween) {
    const testing::VirtualClock clock(Date(1700000000500ms));
    const Date when = Date(1763190252345ms);
    SystemMetrics sample = testing::realisticSample(when, 1);
    sample.timestamp = "2025-11-15T02:04:12.345-05:00";
    sample.hostname = "mac/01";
    const WatchedProcessEvent watched = testing::realisticWatchedEvent(when + 2s, 2);
    // An alert line sent as a bare sample carries whole seconds only: it takes the clock's time.
    const SystemMetrics bare{.timestamp = "2025-11-15T07:04:12Z", .hostname = "mac-01"};

    const std::vector<HECBatchEntry> entries = {{sample, sample.timestamp, sample.hostname},
                                                {watched, watched.timestamp, watched.hostname},
                                                {bare, bare.timestamp, bare.hostname}};
    const auto body = HECBatchEncoder("main", "macos:ostrel").encode(entries, clock);
    ASSERT_TRUE(body) << body.error().message();

    // The record inside is byte for byte the line a metric file holds.
    const std::string fixed = R"("source":"ostrel","sourcetype":"macos:ostrel","index":"main")";
    const std::string expected =
        R"({"time":1763190252.345,"host":"mac\/01",)" + fixed + R"(,"event":)" +
        *encodeJson(sample) + "}" +
        R"({"time":1763190254.345,"host":"ops-laptop-07.corp.example.com",)" + fixed +
        R"(,"event":)" + *encodeJson(watched) + "}" + R"({"time":1700000000.5,"host":"mac-01",)" +
        fixed + R"(,"event":)" + *encodeJson(bare) + "}";
    EXPECT_EQ(*body, expected);

    // Any fraction of a second is kept; no timestamp at all takes the time of upload too.
    EXPECT_DOUBLE_EQ(parseTimestamp("2025-11-15T07:04:12.5Z", clock), 1763190252.5);
    EXPECT_DOUBLE_EQ(parseTimestamp("2025-11-15T07:04:12.123456789+00:00", clock),
                     1763190252.123456789);
    EXPECT_DOUBLE_EQ(parseTimestamp("", clock), 1700000000.5);
}

TEST(HecEndpoint, TrimsPastedUrlsAndRefusesWhatIsNotHttps) {
    EXPECT_EQ(checkedEndpoint("  https://hec.example.com:8088/services/collector/event\n"),
              "https://hec.example.com:8088/services/collector/event");
    EXPECT_EQ(checkedEndpoint("HTTPS://hec.example.com/services/collector"),
              "HTTPS://hec.example.com/services/collector");

    const std::pair<const char*, Kind> refused[] = {
        {"http://hec.example.com:8088/services/collector", Kind::insecureEndpoint},
        {"ftp://hec.example.com/", Kind::insecureEndpoint},
        // A URL without a scheme is still a URL, and not a secure one.
        {"hec.example.com:8088/services/collector", Kind::insecureEndpoint},
        {"hec.example.com/services/collector", Kind::insecureEndpoint},
        {"not a url", Kind::invalidEndpoint},
        {"https://hec.example.com/services/ collector", Kind::invalidEndpoint},
        {"https://hec.example.com/%zz", Kind::invalidEndpoint},
        {"https://", Kind::invalidEndpoint},
        {"://hec.example.com", Kind::invalidEndpoint},
        {" \n", Kind::invalidEndpoint},
    };
    for (const auto& [text, kind] : refused) {
        const auto checked = checkedEndpoint(text);
        ASSERT_FALSE(checked) << text;
        EXPECT_EQ(checked.error().kind(), kind) << text;
    }
}

TEST(HecEndpoint, HealthProbeGoesToTheCollectorsHealthResource) {
    EXPECT_EQ(healthPath("/services/collector/event"), "/services/collector/health");
    EXPECT_EQ(healthPath("/services/collector"), "/services/collector/health");
    EXPECT_EQ(healthPath("/services/collector/raw/1.0"), "/services/collector/health");
    EXPECT_EQ(healthPath("//services//collector/event/"), "/services/collector/health");
    EXPECT_EQ(healthPath("/hec"), "/hec/health");
    EXPECT_EQ(healthPath(""), "/health");

    EXPECT_EQ(healthURL("https://hec.example.com:8088/services/collector/event"),
              "https://hec.example.com:8088/services/collector/health");
    EXPECT_EQ(healthURL("https://proxy.example.com"), "https://proxy.example.com/health");
    EXPECT_EQ(healthURL("https://h.example.com/services/collector/event?channel=7#x"),
              "https://h.example.com/services/collector/health?channel=7#x");
}

// A 2xx body passes only as a JSON object whose "code" is 0, absent or no integer; any other
// status is an HTTP error whatever the body says.
TEST(HecResponse, VerdictOnEachAnswerToAPost) {
    const std::string page = "<html><head><title>Proxy sign-in</title></head><body>" +
                             std::string(300, 'x') + "</body></html>";
    const std::string invalidToken = R"({"text":"Invalid token","code":4})";
    const auto nonJson = [](std::string excerpt) {
        return HECError::hecRejected(-1, "Non-JSON response: " + excerpt);
    };
    const std::tuple<long, std::string, std::optional<HECError>> cases[] = {
        {200, R"({"text":"Success","code":0})", std::nullopt},
        {200, R"({"text":"Success"})", std::nullopt},
        {200, R"({"code":"5"})", std::nullopt},
        {200, R"({"code":5.5})", std::nullopt},
        {201, R"( {"ackId":3} )", std::nullopt},
        {200, R"({"text":"No data","code":5})", HECError::hecRejected(5, "No data")},
        {200, R"({"code":9,"text":null})", HECError::hecRejected(9, "Unknown HEC error")},
        {200, page, nonJson(page.substr(0, 200))},
        {200, "", nonJson("")},
        {200, "[0]", nonJson("[0]")},
        {200, "\xff\xfe binary", nonJson("<binary>")},
        // 199 ASCII bytes and a two-byte character: the excerpt would cut it in half.
        {200, std::string(199, 'a') + "\xc3\xa9", nonJson("<binary>")},
        {403, invalidToken, HECError::httpError(403, invalidToken)},
        {502, "\xff", HECError::httpError(502, "Unknown error")},
        {0, "", HECError::invalidResponse()},
    };
    for (const auto& [status, body, error] : cases) {
        const auto verdict = classifyBatchResponse(status, body);
        EXPECT_EQ(verdict ? std::nullopt : std::optional(verdict.error()), error) << body;
    }
    // The health probe looks at the status alone.
    EXPECT_TRUE(classifyHealthResponse(200, "<html>anything</html>"));
    EXPECT_EQ(classifyHealthResponse(503, "busy").error(), HECError::httpError(503, "busy"));
}

// The texts of an HTTP status, a rejected certificate, a timeout and a refused connection are
// checked against the test collector.
TEST(HecError, TextsAreTheOnesTheUserSees) {
    const std::pair<HECFailure, std::string> texts[] = {
        {HECError::hecRejected(5, "No data"), "HEC rejected (code 5): No data"},
        {HECError::invalidEndpoint(), "Invalid HEC endpoint URL"},
        {HECError::insecureEndpoint(), "HEC endpoint must use HTTPS"},
        {HECError::invalidResponse(), "Invalid response from server"},
        {TransportError{CURLE_COULDNT_RESOLVE_HOST, "x"}, "Endpoint unreachable"},
        {TransportError{CURLE_RECV_ERROR, "libcurl's own words"}, "libcurl's own words"},
    };
    for (const auto& [failure, text] : texts)
        EXPECT_EQ(connectionTestText(failure), text);
}

// Only an answer that the same batch would meet again sets a file aside; anything a new token,
// a quieter collector or the network could change keeps the file in the queue.
TEST(HecError, PermanentRefusalsAreThoseRetryingCannotChange) {
    const std::pair<HECFailure, bool> cases[] = {
        {HECError::httpError(400, R"({"text":"Invalid data format","code":6})"), true},
        {HECError::httpError(413, "Content too large"), true},
        {HECError::hecRejected(5, "No data"), true},
        {HECError::hecRejected(6, "Invalid data format"), true},
        {HECError::hecRejected(13, "Event field cannot be blank"), true},
        {JsonError{JsonError::Kind::nonFiniteNumber, "load"}, true},
        {HECError::httpError(401, "Token is required"), false},
        {HECError::httpError(403, "Invalid token"), false},
        {HECError::httpError(429, "Too many requests"), false},
        {HECError::httpError(503, "Server is busy"), false},
        {HECError::hecRejected(9, "Server is busy"), false},
        {HECError::hecRejected(-1, "Non-JSON response: <html>"), false},
        {HECError::invalidResponse(), false},
        {TransportError{CURLE_OPERATION_TIMEDOUT, "timed out"}, false},
    };
    for (const auto& [failure, permanent] : cases)
        EXPECT_EQ(isPermanentRefusal(failure), permanent) << failureDescription(failure);
}

}  // namespace
}  // namespace ostrel
