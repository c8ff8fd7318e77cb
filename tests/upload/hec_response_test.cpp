#include "upload/hec_response.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

#include "upload/hec_endpoint.h"

namespace ostrel {
namespace {

using Kind = HECError::Kind;

TEST(HecEndpoint, TrimsPastedUrlsAndRefusesWhatIsNotHttps) {
    EXPECT_EQ(checkedEndpoint("  https://hec.example.com:8088/services/collector/event\n"),
              "https://hec.example.com:8088/services/collector/event");
    EXPECT_EQ(checkedEndpoint("HTTPS://hec.example.com/services/collector"),
              "HTTPS://hec.example.com/services/collector");

    const std::pair<const char*, Kind> refused[] = {
        {"http://hec.example.com:8088/services/collector", Kind::insecureEndpoint},
        {"HTTP://hec.example.com/services/collector", Kind::insecureEndpoint},
        {"ftp://hec.example.com/", Kind::insecureEndpoint},
        // A URL without a scheme is still a URL, and not a secure one.
        {"hec.example.com:8088/services/collector", Kind::insecureEndpoint},
        {"hec.example.com/services/collector", Kind::insecureEndpoint},
        {"not a url", Kind::invalidEndpoint},
        {"https://hec.example.com/services/ collector", Kind::invalidEndpoint},
        {"https://hec.example.com/services\n/collector", Kind::invalidEndpoint},
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

TEST(HecResponse, SuccessBodyIsAcceptedOnlyWithCodeZeroOrNoIntegerCode) {
    for (const char* body : {R"({"text":"Success","code":0})", R"({"text":"Success"})",
                             R"({"code":"5"})", R"({"code":5.5})", R"( {"ackId":3} )"}) {
        EXPECT_TRUE(validateHECResponse(body)) << body;
    }
    EXPECT_EQ(validateHECResponse(R"({"text":"No data","code":5})").error(),
              HECError::hecRejected(5, "No data"));
    EXPECT_EQ(validateHECResponse(R"({"code":9,"text":null})").error(),
              HECError::hecRejected(9, "Unknown HEC error"));
}

TEST(HecResponse, NonJsonSuccessIsRejectedWithTheStartOfTheBody) {
    const std::string page = "<html><head><title>Proxy sign-in</title></head><body>" +
                             std::string(300, 'x') + "</body></html>";
    EXPECT_EQ(validateHECResponse(page).error(),
              HECError::hecRejected(-1, "Non-JSON response: " + page.substr(0, 200)));
    EXPECT_EQ(validateHECResponse("").error(), HECError::hecRejected(-1, "Non-JSON response: "));
    EXPECT_EQ(validateHECResponse("[0]").error(),
              HECError::hecRejected(-1, "Non-JSON response: [0]"));
    EXPECT_EQ(validateHECResponse("\xff\xfe binary").error(),
              HECError::hecRejected(-1, "Non-JSON response: <binary>"));
    // 199 ASCII bytes and a two-byte character: the excerpt would cut it in half.
    EXPECT_EQ(validateHECResponse(std::string(199, 'a') + "\xc3\xa9").error().message(),
              "Non-JSON response: <binary>");
}

TEST(HecResponse, StatusOutsideSuccessIsAnHttpErrorWhateverTheBodySays) {
    const std::string invalidToken = R"({"text":"Invalid token","code":4})";
    EXPECT_EQ(classifyBatchResponse(403, invalidToken).error(),
              HECError::httpError(403, invalidToken));
    EXPECT_EQ(classifyBatchResponse(502, "\xff").error(),
              HECError::httpError(502, "Unknown error"));
    EXPECT_EQ(classifyBatchResponse(0, "").error(), HECError::invalidResponse());
    EXPECT_TRUE(classifyBatchResponse(200, R"({"text":"Success","code":0})"));
    EXPECT_EQ(classifyBatchResponse(200, R"({"text":"No data","code":5})").error().code(), 5);

    EXPECT_TRUE(classifyHealthResponse(200, "<html>anything</html>"));
    EXPECT_EQ(classifyHealthResponse(503, "busy").error(), HECError::httpError(503, "busy"));
}

TEST(HecError, TextsAreTheOnesTheUserSees) {
    EXPECT_EQ(HECError::httpError(403, R"({"text":"Invalid token","code":4})").errorDescription(),
              R"(HTTP 403: {"text":"Invalid token","code":4})");
    EXPECT_EQ(HECError::hecRejected(5, "No data").errorDescription(),
              "HEC rejected (code 5): No data");
    EXPECT_EQ(HECError::invalidEndpoint().errorDescription(), "Invalid HEC endpoint URL");
    EXPECT_EQ(HECError::insecureEndpoint().errorDescription(), "HEC endpoint must use HTTPS");
    EXPECT_EQ(HECError::invalidResponse().errorDescription(), "Invalid response from server");

    const auto transport = [](CURLcode code) {
        return HECFailure(TransportError{code, "libcurl's own words"});
    };
    EXPECT_EQ(connectionTestText(transport(CURLE_PEER_FAILED_VERIFICATION)),
              "SSL certificate not trusted — try disabling Verify SSL");
    EXPECT_EQ(connectionTestText(transport(CURLE_OPERATION_TIMEDOUT)), "Connection timed out");
    EXPECT_EQ(connectionTestText(transport(CURLE_COULDNT_RESOLVE_HOST)), "Endpoint unreachable");
    EXPECT_EQ(connectionTestText(transport(CURLE_COULDNT_CONNECT)), "Endpoint unreachable");
    EXPECT_EQ(connectionTestText(transport(CURLE_RECV_ERROR)), "libcurl's own words");
    EXPECT_EQ(connectionTestText(HECError::httpError(503, "busy")), "HTTP 503: busy");
}

}  // namespace
}  // namespace ostrel
