#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/hec_collector.h"

namespace ostrel::testing {

struct TlsContext;

// A local HTTPS server that speaks the event collector's protocol: real TLS on 127.0.0.1 with
// a self-signed certificate made at start, HTTP/1.1 keep-alive, bodies of a Content-Length. It
// answers as the collector does unless told to fail, stall or pose as a proxy, and records every
// request with its answer.
class HecTestServer {
  public:
    struct Exchange {
        HecRequest request;
        HecAnswer answer;  // status 0: none was sent
        std::vector<HecReceivedEvent> events;
    };

    explicit HecTestServer(std::string token = "11111111-2222-3333-4444-555555555555");
    ~HecTestServer();
    HecTestServer(const HecTestServer&) = delete;
    HecTestServer& operator=(const HecTestServer&) = delete;

    const std::string& token() const { return token_; }
    std::string url(std::string_view path = "/services/collector/event") const;

    // What later requests get; each replaces the one before.
    void answerAsCollector();
    void answerAsBusyCollector();
    // Every request gets this status and JSON body.
    void answerWith(int status, std::string body);
    // A 200 with an HTML page, as an intercepting proxy sends.
    void answerWithProxyPage();
    // Requests are read and never answered, until the behaviour changes or the server stops.
    void stall();
    // Answers as the collector, one byte at a time with `pause` between bytes: slow, but never
    // idle for longer than `pause`.
    void answerSlowly(std::chrono::milliseconds pause);

    std::vector<Exchange> exchanges() const;
    // The events of every accepted post, in the order they arrived.
    std::vector<HecReceivedEvent> events() const;
    int connectionsAccepted() const;
    // Forgets what was received, so that a long run does not hold every body.
    void clearExchanges();

  private:
    enum class Behaviour { collector, busy, fixed, stall };

    void acceptLoop();
    void serve(int socket);
    // None when the server stops while the request stalls.
    std::optional<HecAnswer> respond(const HecRequest& request);
    void setBehaviour(Behaviour behaviour, HecAnswer fixed = {});

    const std::string token_;
    std::unique_ptr<TlsContext> tls_;
    int listener_ = -1;
    int wakePipe_[2] = {-1, -1};
    uint16_t port_ = 0;

    mutable std::mutex mutex_;
    std::condition_variable behaviourChanged_;
    Behaviour behaviour_ = Behaviour::collector;
    HecAnswer fixedAnswer_;
    std::chrono::milliseconds pauseBetweenBytes_{0};
    bool stopping_ = false;
    int accepted_ = 0;
    std::vector<int> openSockets_;
    std::vector<Exchange> exchanges_;
    std::vector<std::thread> connectionThreads_;
    std::thread acceptThread_;
};

}  // namespace ostrel::testing
