#include "upload/hec_response.h"

#include <simdjson.h>

#include <string>

namespace ostrel {
namespace {

constexpr size_t kQuotedBodyBytes = 200;

std::string utf8OrElse(std::string_view bytes, std::string_view fallback) {
    if (!simdjson::validate_utf8(bytes.data(), bytes.size())) return std::string(fallback);
    return std::string(bytes);
}

bool isSuccess(long status) {
    return status >= 200 && status <= 299;
}

tl::expected<void, HECError> httpFailure(long status, std::string_view body) {
    return tl::unexpected(
        HECError::httpError(static_cast<int>(status), utf8OrElse(body, "Unknown error")));
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
    if (status <= 0) return tl::unexpected(HECError::invalidResponse());
    if (!isSuccess(status)) return httpFailure(status, body);
    return validateHECResponse(body);
}

tl::expected<void, HECError> classifyHealthResponse(long status, std::string_view body) {
    if (status <= 0) return tl::unexpected(HECError::invalidResponse());
    if (!isSuccess(status)) return httpFailure(status, body);
    return {};
}

}  // namespace ostrel
