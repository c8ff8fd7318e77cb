#include "upload/curl_transport.h"

#include <curl/curl.h>

#include <cstdlib>

namespace ostrel {
namespace {

void initialiseLibcurlOnce() {
    static const bool initialised = [] {
        if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) std::abort();
        return true;
    }();
    (void)initialised;
}

size_t appendToString(char* data, size_t size, size_t count, void* target) {
    static_cast<std::string*>(target)->append(data, size * count);
    return size * count;
}

struct HeaderList {
    curl_slist* list = nullptr;
    ~HeaderList() { curl_slist_free_all(list); }
    bool add(const std::string& header) {
        curl_slist* extended = curl_slist_append(list, header.c_str());
        if (!extended) return false;
        list = extended;
        return true;
    }
};

}  // namespace

void CurlTransport::HandleDeleter::operator()(void* handle) const {
    curl_easy_cleanup(static_cast<CURL*>(handle));
}

CurlTransport::CurlTransport(bool verifyPeer) : verifyPeer_(verifyPeer) {
    initialiseLibcurlOnce();
}

CurlTransport::~CurlTransport() = default;

CurlTransport::Handle CurlTransport::take() {
    {
        std::lock_guard lock(poolMutex_);
        if (!idle_.empty()) {
            Handle handle = std::move(idle_.back());
            idle_.pop_back();
            return handle;
        }
    }
    Handle handle(curl_easy_init());
    if (!handle) std::abort();  // out of memory
    return handle;
}

void CurlTransport::giveBack(Handle handle) {
    std::lock_guard lock(poolMutex_);
    idle_.push_back(std::move(handle));
}

tl::expected<HttpResponse, TransportError> CurlTransport::perform(const HttpRequest& request) {
    Handle handle = take();
    CURL* curl = static_cast<CURL*>(handle.get());
    // Reset clears the previous request's options but keeps the open connection.
    curl_easy_reset(curl);

    HeaderList headers;
    bool headersComplete = true;
    for (const auto& header : request.headers)
        headersComplete &= headers.add(header);
    // Without this libcurl would hold back a large body for a 100-continue the collector may
    // never send.
    headersComplete &= headers.add("Expect:");
    if (!headersComplete) std::abort();  // out of memory

    HttpResponse response;
    char errorText[CURL_ERROR_SIZE] = {};
    curl_easy_setopt(curl, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "https");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeout.count()));
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.list);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errorText);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, appendToString);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &response.body);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, verifyPeer_ ? 1L : 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, verifyPeer_ ? 2L : 0L);
    if (request.method == "GET") {
        curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
    } else {
        curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST,
                         request.method == "POST" ? nullptr : request.method.c_str());
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(request.body.size()));
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.data());
    }

    const CURLcode result = curl_easy_perform(curl);
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &response.status);
    // The handle must not keep pointers into this frame.
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, nullptr);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, nullptr);
    giveBack(std::move(handle));

    if (result != CURLE_OK) {
        std::string description = errorText[0] ? errorText : curl_easy_strerror(result);
        return tl::unexpected(TransportError{static_cast<int>(result), std::move(description)});
    }
    return response;
}

}  // namespace ostrel
