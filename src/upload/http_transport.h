#pragma once

#include <chrono>
#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "upload/hec_error.h"

namespace ostrel {

struct HttpRequest {
    std::string method;  // "GET" or "POST"
    std::string url;
    std::vector<std::string> headers;  // "Name: value"
    std::string body;
    // The request fails when no byte has moved for this long, in connecting or in transfer; an
    // exchange that keeps moving may take as long as it needs.
    std::chrono::milliseconds idleTimeout{0};
};

struct HttpResponse {
    long status = 0;  // 0: the answer carried no HTTP status
    std::string body;
};

// What the collector's client needs of an HTTP library: one request in, its status and body
// or the library's failure out. Implementations may be called from several threads.
class HttpTransport {
  public:
    virtual ~HttpTransport() = default;
    virtual tl::expected<HttpResponse, TransportError> perform(const HttpRequest& request) = 0;
};

}  // namespace ostrel
