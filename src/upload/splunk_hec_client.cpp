#include "upload/splunk_hec_client.h"

#include <fmt/format.h>

#include "logging/logger.h"
#include "records/constants.h"
#include "upload/curl_transport.h"
#include "upload/hec_endpoint.h"
#include "upload/hec_response.h"

namespace ostrel {
namespace {

constexpr auto kNetwork = Logger::Category::network;

}  // namespace

std::atomic<bool> SplunkHECClient::sslWarningLogged{false};

tl::expected<std::unique_ptr<SplunkHECClient>, HECError> SplunkHECClient::create(
    std::string_view endpoint, std::string_view token, std::string index, std::string sourcetype,
    bool verifySSL, HECClientOptions options) {
    auto checked = checkedEndpoint(endpoint);
    if (!checked) return tl::unexpected(checked.error());
    Logger::info(fmt::format("HEC client initialized — endpoint: {}, verifySSL: {}", *checked,
                             verifySSL ? "true" : "false"),
                 kNetwork);
    return std::unique_ptr<SplunkHECClient>(
        new SplunkHECClient(std::move(*checked), trimmedSetting(token), index, sourcetype,
                            verifySSL, std::move(options)));
}

SplunkHECClient::SplunkHECClient(std::string endpoint, std::string token, std::string_view index,
                                 std::string_view sourcetype, bool verifySSL,
                                 HECClientOptions options)
    : endpoint_(std::move(endpoint)),
      token_(std::move(token)),
      verifySSL_(verifySSL),
      clock_(options.clock ? *options.clock : systemClock()),
      timeouts_(options.timeouts),
      encoder_(index, sourcetype),
      session_(std::move(options.transport)) {}

HttpTransport& SplunkHECClient::session() {
    std::call_once(sessionMade_, [this] {
        if (!verifySSL_ && !sslWarningLogged.exchange(true)) {
            Logger::warning("SSL certificate verification disabled for HEC endpoint", kNetwork);
        }
        if (!session_) session_ = std::make_shared<CurlTransport>(verifySSL_);
    });
    return *session_;
}

tl::expected<int, HECFailure> SplunkHECClient::sendBatch(std::span<const HECBatchEntry> events) {
    if (events.empty()) return 0;
    auto body = encoder_.encode(events, clock_);
    if (!body) return tl::unexpected(body.error());

    HttpRequest request{
        .method = "POST",
        .url = endpoint_,
        .headers = {fmt::format("Authorization: {} {}", Constants::Splunk::authScheme, token_),
                    fmt::format("Content-Type: {}", Constants::Splunk::contentType)},
        .body = std::move(*body),
        .idleTimeout = timeouts_.batch};
    auto response = session().perform(request);
    if (!response) return tl::unexpected(response.error());
    if (auto verdict = classifyBatchResponse(response->status, response->body); !verdict) {
        return tl::unexpected(verdict.error());
    }
    const int count = static_cast<int>(events.size());
    Logger::debug(fmt::format("HEC batch sent: {} events, HTTP {}", count, response->status),
                  kNetwork);
    return count;
}

tl::expected<void, HECFailure> SplunkHECClient::testConnection() {
    const std::string url = healthURL(endpoint_);
    Logger::info("Testing HEC health endpoint: " + url, kNetwork);
    // The probe carries no token: a healthy collector answers it without one.
    auto response = session().perform(
        HttpRequest{.method = "GET", .url = url, .idleTimeout = timeouts_.health});
    if (!response) {
        Logger::error("HEC health check failed", response.error().description, kNetwork);
        return tl::unexpected(response.error());
    }
    if (auto verdict = classifyHealthResponse(response->status, response->body); !verdict) {
        const HECError& error = verdict.error();
        if (error.kind() == HECError::Kind::invalidResponse) {
            Logger::error("HEC health check failed: invalid response", kNetwork);
        } else {
            Logger::error(fmt::format("HEC health check failed: HTTP {} — {}", error.statusCode(),
                                      error.message()),
                          kNetwork);
        }
        return tl::unexpected(error);
    }
    Logger::info("HEC health check passed", kNetwork);
    return {};
}

}  // namespace ostrel
