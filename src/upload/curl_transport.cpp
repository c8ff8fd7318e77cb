#include "upload/curl_transport.h"

#include <algorithm>

#include "logging/logger.h"
#include "upload/curl_library.h"

namespace ostrel {
namespace {

size_t appendToString(char* data, size_t size, size_t count, void* target) {
    static_cast<std::string*>(target)->append(data, size * count);
    return size * count;
}

struct HeaderList {
    const CurlLibrary& curl;
    curl_slist* list = nullptr;
    ~HeaderList() { curl.slistFreeAll(list); }
    bool add(const std::string& header) {
        curl_slist* extended = curl.slistAppend(list, header.c_str());
        if (!extended) return false;
        list = extended;
        return true;
    }
};

}  // namespace

void CurlTransport::HandleDeleter::operator()(void* handle) const {
    CurlLibrary::get()->easyCleanup(static_cast<CURL*>(handle));
}

CurlTransport::CurlTransport(bool verifyPeer) : verifyPeer_(verifyPeer) {}

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
    Handle handle(CurlLibrary::get()->easyInit());
    if (!handle) Logger::fatal("Out of memory for an HTTP handle", Logger::Category::network);
    return handle;
}

void CurlTransport::giveBack(Handle handle) {
    std::lock_guard lock(poolMutex_);
    idle_.push_back(std::move(handle));
}

tl::expected<HttpResponse, TransportError> CurlTransport::perform(const HttpRequest& request) {
    const auto& library = CurlLibrary::get();
    if (!library) return tl::unexpected(TransportError{CURLE_FAILED_INIT, library.error()});
    const CurlLibrary& lib = *library;
    Handle handle = take();
    CURL* curl = static_cast<CURL*>(handle.get());
    // Reset clears the previous request's options but keeps the open connection.
    lib.easyReset(curl);

    HeaderList headers{lib};
    bool headersComplete = true;
    for (const auto& header : request.headers)
        headersComplete &= headers.add(header);
    // Without this libcurl would hold back a large body for a 100-continue the collector may
    // never send.
    headersComplete &= headers.add("Expect:");
    if (!headersComplete) {
        Logger::fatal("Out of memory for HTTP headers", Logger::Category::network);
    }

    HttpResponse response;
    char errorText[CURL_ERROR_SIZE] = {};
    lib.easySetopt(curl, CURLOPT_URL, request.url.c_str());
    lib.easySetopt(curl, CURLOPT_PROTOCOLS_STR, "https");
    lib.easySetopt(curl, CURLOPT_NOSIGNAL, 1L);
    // libcurl judges a stall by its average speed over the last few seconds, in whole seconds:
    // a collector gone silent is given up a few seconds after the timeout, one that keeps
    // moving never. The connection phase has a limit of its own.
    const long idleSeconds =
        std::max<long>(1, static_cast<long>((request.idleTimeout.count() + 999) / 1000));
    lib.easySetopt(curl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request.idleTimeout.count()));
    lib.easySetopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    lib.easySetopt(curl, CURLOPT_LOW_SPEED_TIME, idleSeconds);
    lib.easySetopt(curl, CURLOPT_HTTPHEADER, headers.list);
    lib.easySetopt(curl, CURLOPT_ERRORBUFFER, errorText);
    lib.easySetopt(curl, CURLOPT_WRITEFUNCTION, appendToString);
    lib.easySetopt(curl, CURLOPT_WRITEDATA, &response.body);
    lib.easySetopt(curl, CURLOPT_SSL_VERIFYPEER, verifyPeer_ ? 1L : 0L);
    lib.easySetopt(curl, CURLOPT_SSL_VERIFYHOST, verifyPeer_ ? 2L : 0L);
    if (request.method == "GET") {
        lib.easySetopt(curl, CURLOPT_HTTPGET, 1L);
    } else {
        lib.easySetopt(curl, CURLOPT_CUSTOMREQUEST,
                       request.method == "POST" ? nullptr : request.method.c_str());
        lib.easySetopt(curl, CURLOPT_POSTFIELDSIZE_LARGE,
                       static_cast<curl_off_t>(request.body.size()));
        lib.easySetopt(curl, CURLOPT_POSTFIELDS, request.body.data());
    }

    const CURLcode result = lib.easyPerform(curl);
    lib.easyGetinfo(curl, CURLINFO_RESPONSE_CODE, &response.status);
    // The handle must not keep pointers into this frame.
    lib.easySetopt(curl, CURLOPT_ERRORBUFFER, nullptr);
    lib.easySetopt(curl, CURLOPT_HTTPHEADER, nullptr);
    giveBack(std::move(handle));

    if (result != CURLE_OK) {
        std::string description = errorText[0] ? errorText : lib.easyStrerror(result);
        return tl::unexpected(TransportError{static_cast<int>(result), std::move(description)});
    }
    return response;
}

}  // namespace ostrel
