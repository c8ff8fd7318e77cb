#pragma once

#include <curl/curl.h>

#include <string>
#include <tl/expected.hpp>

namespace ostrel {

// libcurl, loaded the first time an upload needs it. An agent that only stores locally never
// maps libcurl and the TLS, Kerberos and directory libraries it brings: about 5 MB resident.
struct CurlLibrary {
    decltype(&curl_easy_init) easyInit;
    decltype(&curl_easy_cleanup) easyCleanup;
    decltype(&curl_easy_reset) easyReset;
    decltype(&curl_easy_setopt) easySetopt;
    decltype(&curl_easy_perform) easyPerform;
    decltype(&curl_easy_getinfo) easyGetinfo;
    decltype(&curl_easy_strerror) easyStrerror;
    decltype(&curl_slist_append) slistAppend;
    decltype(&curl_slist_free_all) slistFreeAll;
    decltype(&curl_url) url;
    decltype(&curl_url_cleanup) urlCleanup;
    decltype(&curl_url_set) urlSet;
    decltype(&curl_url_get) urlGet;
    decltype(&curl_free) free;

    // The loaded and initialised library, or why it could not be loaded ("libcurl is not
    // available: ..."). Loaded once per process; the failure is logged once.
    static const tl::expected<CurlLibrary, std::string>& get();
};

}  // namespace ostrel
