#include "upload/hec_endpoint.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <vector>

#include "records/text.h"
#include "upload/curl_library.h"

namespace ostrel {
namespace {

// The characters a URL may hold (RFC 3986: unreserved, reserved, and "%" for escapes).
bool isUrlCharacter(char c) {
    if (std::isalnum(static_cast<unsigned char>(c))) return true;
    return std::string_view("-._~:/?#[]@!$&'()*+,;=%").find(c) != std::string_view::npos;
}

bool hasValidEscapes(std::string_view text) {
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') continue;
        if (i + 2 >= text.size() || !std::isxdigit(static_cast<unsigned char>(text[i + 1])) ||
            !std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
            return false;
        }
    }
    return true;
}

// The scheme of RFC 3986 (a letter, then letters, digits, "+", "-", "."), before the first
// ":", or empty when the text starts with none.
std::string_view schemeOf(std::string_view text) {
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0) return {};
    const std::string_view candidate = text.substr(0, colon);
    if (!std::isalpha(static_cast<unsigned char>(candidate[0]))) return {};
    const bool valid = std::all_of(candidate.begin(), candidate.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '-' || c == '.';
    });
    return valid ? candidate : std::string_view{};
}

bool parsesAsAbsoluteURL(const std::string& text) {
    const auto& library = CurlLibrary::get();
    if (!library) return false;  // logged once where loading failed
    const CurlLibrary& curl = *library;
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl.url(), curl.urlCleanup);
    if (!url || curl.urlSet(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK) return false;
    char* host = nullptr;
    if (curl.urlGet(url.get(), CURLUPART_HOST, &host, 0) != CURLUE_OK) return false;
    const bool hasHost = host && *host;
    curl.free(host);
    return hasHost;
}

struct Split {
    std::string_view head;  // scheme and authority
    std::string_view path;
    std::string_view tail;  // query and fragment
};

Split splitURL(std::string_view url) {
    size_t pathStart = 0;
    if (const size_t authority = url.find("://"); authority != std::string_view::npos) {
        pathStart = url.find_first_of("/?#", authority + 3);
        if (pathStart == std::string_view::npos) pathStart = url.size();
    }
    size_t tailStart = url.find_first_of("?#", pathStart);
    if (tailStart == std::string_view::npos) tailStart = url.size();
    return {url.substr(0, pathStart), url.substr(pathStart, tailStart - pathStart),
            url.substr(tailStart)};
}

}  // namespace

std::string trimmedSetting(std::string_view text) {
    return std::string(trimmed(text, " \t\n\r\v\f"));
}

tl::expected<std::string, HECError> checkedEndpoint(std::string_view text) {
    std::string endpoint = trimmedSetting(text);
    if (endpoint.empty() || !std::all_of(endpoint.begin(), endpoint.end(), isUrlCharacter) ||
        !hasValidEscapes(endpoint)) {
        return tl::unexpected(HECError::invalidEndpoint());
    }
    const std::string scheme = asciiLowered(schemeOf(endpoint));
    if (scheme.empty()) {
        // A relative reference may not have a colon in its first segment ("://host").
        const std::string_view first =
            std::string_view(endpoint).substr(0, endpoint.find_first_of("/?#"));
        if (first.find(':') != std::string_view::npos) {
            return tl::unexpected(HECError::invalidEndpoint());
        }
        return tl::unexpected(HECError::insecureEndpoint());
    }
    // Plain HTTP is never accepted, whatever the certificate setting says.
    if (scheme != "https") return tl::unexpected(HECError::insecureEndpoint());
    if (!parsesAsAbsoluteURL(endpoint)) return tl::unexpected(HECError::invalidEndpoint());
    return endpoint;
}

std::string healthPath(std::string_view endpointPath) {
    std::vector<std::string_view> pieces;
    for (size_t start = 0; start <= endpointPath.size();) {
        size_t end = endpointPath.find('/', start);
        if (end == std::string_view::npos) end = endpointPath.size();
        if (end > start) pieces.push_back(endpointPath.substr(start, end - start));
        start = end + 1;
    }
    const auto collector = std::find(pieces.begin(), pieces.end(), "collector");
    if (collector == pieces.end()) return std::string(endpointPath) + "/health";
    std::string path;
    for (auto piece = pieces.begin(); piece != std::next(collector); ++piece) {
        path += '/';
        path += *piece;
    }
    return path + "/health";
}

std::string healthURL(std::string_view endpoint) {
    const Split parts = splitURL(endpoint);
    return std::string(parts.head) + healthPath(parts.path) + std::string(parts.tail);
}

}  // namespace ostrel
