#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "upload/http_transport.h"

namespace ostrel {

// HTTP over libcurl. Each request borrows an easy handle from a small pool and gives it back
// afterwards, so requests made one after the other reuse the handle's open connection and TLS
// session, while requests from different threads never share a handle.
class CurlTransport final : public HttpTransport {
  public:
    // With `verifyPeer` false the server's certificate and host name are not checked; nothing
    // else about TLS changes.
    explicit CurlTransport(bool verifyPeer);
    ~CurlTransport() override;
    CurlTransport(const CurlTransport&) = delete;
    CurlTransport& operator=(const CurlTransport&) = delete;

    tl::expected<HttpResponse, TransportError> perform(const HttpRequest& request) override;

  private:
    struct HandleDeleter {
        void operator()(void* handle) const;
    };
    using Handle = std::unique_ptr<void, HandleDeleter>;

    Handle take();
    void giveBack(Handle handle);

    bool verifyPeer_;
    std::mutex poolMutex_;
    std::vector<Handle> idle_;
};

}  // namespace ostrel
