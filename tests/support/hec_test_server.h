#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/hec_collector.h"

namespace httplib {
class SSLServer;
struct Request;
struct Response;
}  // namespace httplib

namespace ostrel::testing {

// A local HTTPS server that speaks the event collector's protocol: real TLS on 127.0.0.1 with
// a self-signed certificate made at start, HTTP/1.1 keep-alive, bodies of a Content-Length. It
// answers as the collector does unless told to fail, stall or pose as a proxy, and records every
// request with its answer.
class HecTestServer {
  public:
    struct Exchange {
        HecRequest request;
        HecAnswer answer;  // status 0: cut off unanswered when the server stopped
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
    // Answers as the collector, the body one byte at a time with `pause` before each: slow, but
    // never idle for longer than `pause`.
    void answerSlowly(std::chrono::milliseconds pause);

    std::vector<Exchange> exchanges() const;
    // The events of every accepted post, in the order they arrived.
    std::vector<HecReceivedEvent> events() const;
    // Connections that carried at least one request.
    int connectionsAccepted() const;
    // Forgets what was received, so that a long run does not hold every body.
    void clearExchanges();

  private:
    enum class Behaviour { collector, busy, fixed, stall };

    void serve(const httplib::Request& request, httplib::Response& response);
    void setBehaviour(Behaviour behaviour, HecAnswer fixed = {});

    const std::string token_;
    std::unique_ptr<httplib::SSLServer> server_;
    int port_ = 0;
    std::thread listenThread_;

    mutable std::mutex mutex_;
    std::condition_variable behaviourChanged_;
    Behaviour behaviour_ = Behaviour::collector;
    HecAnswer fixedAnswer_;
    std::chrono::milliseconds pauseBetweenBytes_{0};
    bool stopping_ = false;
    std::set<int> clientPorts_;
    std::vector<Exchange> exchanges_;
};

}  // namespace ostrel::testing
