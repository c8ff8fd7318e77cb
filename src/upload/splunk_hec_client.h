#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "platform/clock.h"
#include "upload/hec_batch_encoder.h"
#include "upload/hec_error.h"
#include "upload/http_transport.h"

namespace ostrel {

// How long a request may go without a byte moving before it fails. They are idle timeouts,
// not limits on the whole exchange: a large batch to a slow collector that keeps accepting
// data may take minutes, while a collector that has gone silent is given up after these.
struct HECTimeouts {
    std::chrono::milliseconds batch{30'000};
    std::chrono::milliseconds health{5'000};
};

struct HECClientOptions {
    const Clock* clock = nullptr;  // for events whose timestamp does not parse; none: system
    HECTimeouts timeouts;
    // None: libcurl, made at the first request, checking certificates as verifySSL says.
    std::shared_ptr<HttpTransport> transport;
};

// The client of one collector: posts batches of records and probes the collector's health.
// It holds no queue and never retries; the upload cycle decides what to send and what a
// failure means. Calls block, so callers run them off the main queue. Requests made one after
// another keep one connection open.
class SplunkHECClient {
  public:
    // Trims the endpoint and the token and insists on an HTTPS URL. An empty token is the
    // caller's to refuse; the collector answers it with 401.
    static tl::expected<std::unique_ptr<SplunkHECClient>, HECError> create(
        std::string_view endpoint, std::string_view token, std::string index,
        std::string sourcetype, bool verifySSL, HECClientOptions options = {});

    // Posts all events as one request and returns how many went out. An empty batch sends
    // nothing. Logs nothing on failure: the caller reports it.
    tl::expected<int, HECFailure> sendBatch(std::span<const HECBatchEntry> events);

    // Succeeds if the collector's health resource answers with a 2xx. Logs every failure.
    tl::expected<void, HECFailure> testConnection();

    // Whether this process has warned that certificates go unchecked: once, for all clients.
    static std::atomic<bool> sslWarningLogged;

  private:
    SplunkHECClient(std::string endpoint, std::string token, std::string_view index,
                    std::string_view sourcetype, bool verifySSL, HECClientOptions options);

    HttpTransport& session();

    const std::string endpoint_;
    const std::string token_;
    const bool verifySSL_;
    const Clock& clock_;
    const HECTimeouts timeouts_;
    const HECBatchEncoder encoder_;
    std::once_flag sessionMade_;
    std::shared_ptr<HttpTransport> session_;
};

}  // namespace ostrel
