// The test collector must answer as the real one documents, or every upload test built on it
// proves nothing.
#include "support/hec_test_server.h"

#include <gtest/gtest.h>

#include "upload/curl_transport.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;

class HecTestServerTest : public ::testing::Test {
  protected:
    HttpResponse post(std::string body, std::vector<std::string> headers,
                      std::string path = "/services/collector/event") {
        auto response = transport.perform({.method = "POST",
                                           .url = server.url(path),
                                           .headers = std::move(headers),
                                           .body = std::move(body),
                                           .timeout = 5s});
        EXPECT_TRUE(response) << response.error().description;
        return response.value_or(HttpResponse{});
    }

    testing::HecTestServer server;
    CurlTransport transport{false};
    const std::string auth = "Authorization: Splunk " + server.token();
};

TEST_F(HecTestServerTest, AnswersWithTheCollectorsCodes) {
    const std::string event = R"({"event":{"a":1}})";
    const std::string invalidSecond =
        R"({"text":"Invalid data format","code":6,"invalid-event-number":1})";
    const std::tuple<std::string, std::string, long, std::string> cases[] = {
        {event, "", 401, R"({"text":"Token is required","code":2})"},
        {event, "Authorization: Bearer x", 401, R"({"text":"Invalid authorization","code":3})"},
        {event, "Authorization: Splunk nope", 403, R"({"text":"Invalid token","code":4})"},
        {" \n", auth, 400, R"({"text":"No data","code":5})"},
        {event + R"({"event":1)", auth, 400, invalidSecond},
        {event + "[1]", auth, 400, invalidSecond},
        {R"({"time":1,"host":"h"})", auth, 400,
         R"({"text":"Event field is required","code":12,"invalid-event-number":0})"},
        {event + R"({"event":" "})", auth, 400,
         R"({"text":"Event field cannot be blank","code":13,"invalid-event-number":1})"},
    };
    for (const auto& [body, header, status, answer] : cases) {
        const HttpResponse response =
            post(body, header.empty() ? std::vector<std::string>{} : std::vector{header});
        EXPECT_EQ(response.status, status) << body;
        EXPECT_EQ(response.body, answer) << body;
    }
    EXPECT_TRUE(server.events().empty());

    const auto health = transport.perform(
        {.method = "GET", .url = server.url("/services/collector/health/1.0"), .timeout = 5s});
    EXPECT_EQ(health->body, R"({"text":"HEC is healthy","code":17})");
    EXPECT_EQ(post(event, {auth}, "/services/other").status, 404);
}

TEST_F(HecTestServerTest, ReadsObjectsOneAfterAnother) {
    const std::string body =
        R"({"time":"1763190252.5","event":"text with } and \" inside","host":"a"})"
        "\n "
        R"({"event":[1,{"b":"}"}],"index":"x"}{"event":{"nested":{"c":[]}},"time":12.25})";
    EXPECT_EQ(post(body, {auth}, "/services/collector").body, R"({"text":"Success","code":0})");
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

}  // namespace
}  // namespace ostrel
