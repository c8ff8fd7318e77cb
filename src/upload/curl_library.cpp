#include "upload/curl_library.h"

#include <dlfcn.h>

#include "logging/logger.h"

namespace ostrel {
namespace {

tl::expected<CurlLibrary, std::string> load() {
    void* handle = dlopen("libcurl.so.4", RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* reason = dlerror();
        return tl::unexpected(std::string("libcurl is not available: ") +
                              (reason ? reason : "unknown reason"));
    }
    std::string missing;
    const auto symbol = [&](auto& target, const char* name) {
        target = reinterpret_cast<std::remove_reference_t<decltype(target)>>(dlsym(handle, name));
        if (!target) missing += missing.empty() ? name : std::string(", ") + name;
    };
    CurlLibrary library{};
    decltype(&curl_global_init) globalInit = nullptr;
    symbol(globalInit, "curl_global_init");
    symbol(library.easyInit, "curl_easy_init");
    symbol(library.easyCleanup, "curl_easy_cleanup");
    symbol(library.easyReset, "curl_easy_reset");
    symbol(library.easySetopt, "curl_easy_setopt");
    symbol(library.easyPerform, "curl_easy_perform");
    symbol(library.easyGetinfo, "curl_easy_getinfo");
    symbol(library.easyStrerror, "curl_easy_strerror");
    symbol(library.slistAppend, "curl_slist_append");
    symbol(library.slistFreeAll, "curl_slist_free_all");
    symbol(library.url, "curl_url");
    symbol(library.urlCleanup, "curl_url_cleanup");
    symbol(library.urlSet, "curl_url_set");
    symbol(library.urlGet, "curl_url_get");
    symbol(library.free, "curl_free");
    if (!missing.empty()) {
        return tl::unexpected("libcurl is not available: missing " + missing);
    }
    // Global set-up fails only when memory runs out.
    if (globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
        Logger::fatal("Out of memory for libcurl's set-up", Logger::Category::network);
    }
    return library;  // the handle stays open for the life of the process
}

}  // namespace

const tl::expected<CurlLibrary, std::string>& CurlLibrary::get() {
    static const tl::expected<CurlLibrary, std::string> library = [] {
        auto loaded = load();
        if (!loaded) Logger::error(loaded.error(), Logger::Category::network);
        return loaded;
    }();
    return library;
}

}  // namespace ostrel
