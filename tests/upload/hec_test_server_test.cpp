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
    std::string auth() const { return "Authorization: Splunk " + server.token(); }

    testing::HecTestServer server;
    CurlTransport transport{false};
};

TEST_F(HecTestServerTest, AnswersWithTheCollectorsCodes) {
    const std::string event = R"({"event":{"a":1}})";
    struct Case {
        std::string body;
        std::vector<std::string> headers;
        long status;
        std::string answer;
    };
    const Case cases[] = {
        {event, {}, 401, R"({"text":"Token is required","code":2})"},
        {event, {"Authorization: Bearer x"}, 401, R"({"text":"Invalid authorization","code":3})"},
        {event, {"Authorization: Splunk nope"}, 403, R"({"text":"Invalid token","code":4})"},
        {" \n", {auth()}, 400, R"({"text":"No data","code":5})"},
        {event + R"({"event":1)",
         {auth()},
         400,
         R"({"text":"Invalid data format","code":6,"invalid-event-number":1})"},
        {event + "[1]",
         {auth()},
         400,
         R"({"text":"Invalid data format","code":6,"invalid-event-number":1})"},
        {R"({"time":1,"host":"h"})",
         {auth()},
         400,
         R"({"text":"Event field is required","code":12,"invalid-event-number":0})"},
        {event + R"({"event":" "})",
         {auth()},
         400,
         R"({"text":"Event field cannot be blank","code":13,"invalid-event-number":1})"},
    };
    for (const auto& c : cases) {
        const HttpResponse response = post(c.body, c.headers);
        EXPECT_EQ(response.status, c.status) << c.body;
        EXPECT_EQ(response.body, c.answer) << c.body;
    }
    EXPECT_TRUE(server.events().empty());

    const auto health = transport.perform(
        {.method = "GET", .url = server.url("/services/collector/health/1.0"), .timeout = 5s});
    EXPECT_EQ(health->body, R"({"text":"HEC is healthy","code":17})");
    EXPECT_EQ(post(event, {auth()}, "/services/other").status, 404);
}

TEST_F(HecTestServerTest, ReadsObjectsOneAfterAnotherInAnyFraming) {
    const std::string body =
        R"({"time":"1763190252.5","event":"text with } and \" inside","host":"a"})"
        "\n "
        R"({"event":[1,{"b":"}"}],"index":"x"}{"event":{"nested":{"c":[]}},"time":12.25})";
    for (const bool chunked : {false, true}) {
        std::vector<std::string> headers = {auth()};
        if (chunked) headers.push_back("Transfer-Encoding: chunked");
        const HttpResponse response = post(body, headers, "/services/collector");
        EXPECT_EQ(response.body, R"({"text":"Success","code":0})");
        EXPECT_EQ(server.exchanges().back().request.chunked, chunked);
    }
    const auto events = server.events();
    ASSERT_EQ(events.size(), 6u);
    EXPECT_EQ(events[0].time, 1763190252.5);
    EXPECT_EQ(events[0].event, R"("text with } and \" inside")");
    EXPECT_EQ(events[0].host, "a");
    EXPECT_EQ(events[1].event, R"([1,{"b":"}"}])");
    EXPECT_EQ(events[1].index, "x");
    EXPECT_EQ(events[2].event, R"({"nested":{"c":[]}})");
    EXPECT_EQ(events[2].time, 12.25);
    EXPECT_EQ(events[5].event, events[2].event);
}

}  // namespace
}  // namespace ostrel
