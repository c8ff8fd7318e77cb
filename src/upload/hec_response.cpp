#include "upload/hec_response.h"

#include <simdjson.h>

#include <optional>
#include <string>

namespace ostrel {
namespace {

constexpr size_t kQuotedBodyBytes = 200;

std::string utf8OrElse(std::string_view bytes, std::string_view fallback) {
    if (!simdjson::validate_utf8(bytes.data(), bytes.size())) return std::string(fallback);
    return std::string(bytes);
}

// What the status alone decides: no status at all, or one outside 2xx.
std::optional<HECError> statusFailure(long status, std::string_view body) {
    if (status <= 0) return HECError::invalidResponse();
    if (status < 200 || status > 299) {
        return HECError::httpError(static_cast<int>(status), utf8OrElse(body, "Unknown error"));
    }
    return std::nullopt;
}

}  // namespace

tl::expected<void, HECError> validateHECResponse(std::string_view body) {
    simdjson::dom::parser parser;
    simdjson::dom::object object;
    const simdjson::padded_string padded(body);
    if (parser.parse(padded).get_object().get(object) == simdjson::SUCCESS) {
        int64_t code = 0;
        if (object["code"].get_int64().get(code) == simdjson::SUCCESS && code != 0) {
            std::string_view text;
            if (object["text"].get_string().get(text) != simdjson::SUCCESS) {
                text = "Unknown HEC error";
            }
            return tl::unexpected(HECError::hecRejected(static_cast<int>(code), std::string(text)));
        }
        return {};
    }
    // A cut through a multi-byte character makes the excerpt invalid, as any other binary does.
    const std::string excerpt = utf8OrElse(body.substr(0, kQuotedBodyBytes), "<binary>");
    return tl::unexpected(HECError::hecRejected(-1, "Non-JSON response: " + excerpt));
}

tl::expected<void, HECError> classifyBatchResponse(long status, std::string_view body) {
    if (auto failure = statusFailure(status, body)) return tl::unexpected(std::move(*failure));
    return validateHECResponse(body);
}

tl::expected<void, HECError> classifyHealthResponse(long status, std::string_view body) {
    if (auto failure = statusFailure(status, body)) return tl::unexpected(std::move(*failure));
    return {};
}

}  // namespace ostrel
