#include "upload/hec_error.h"

#include <curl/curl.h>
#include <fmt/format.h>

namespace ostrel {

HECError HECError::httpError(int statusCode, std::string message) {
    return HECError(Kind::httpError, statusCode, std::move(message));
}

HECError HECError::hecRejected(int code, std::string message) {
    return HECError(Kind::hecRejected, code, std::move(message));
}

std::string HECError::errorDescription() const {
    switch (kind_) {
        case Kind::httpError:
            return fmt::format("HTTP {}: {}", number_, message_);
        case Kind::hecRejected:
            return fmt::format("HEC rejected (code {}): {}", number_, message_);
        case Kind::invalidEndpoint:
            return "Invalid HEC endpoint URL";
        case Kind::insecureEndpoint:
            return "HEC endpoint must use HTTPS";
        case Kind::invalidResponse:
            return "Invalid response from server";
    }
    return "Invalid response from server";
}

std::string failureDescription(const HECFailure& failure) {
    struct Describe {
        std::string operator()(const HECError& e) const { return e.errorDescription(); }
        std::string operator()(const TransportError& e) const { return e.description; }
        std::string operator()(const JsonError& e) const { return e.message(); }
    };
    return std::visit(Describe{}, failure);
}

bool isPermanentRefusal(const HECFailure& failure) {
    if (std::holds_alternative<JsonError>(failure)) return true;
    const auto* error = std::get_if<HECError>(&failure);
    if (!error) return false;
    if (error->kind() == HECError::Kind::httpError) {
        return error->statusCode() == 400 || error->statusCode() == 413;
    }
    if (error->kind() != HECError::Kind::hecRejected) return false;
    // The collector's documented codes: 5 no data, 6 invalid data format, 12 event field is
    // required, 13 event field cannot be blank, 15 error in handling indexed fields.
    switch (error->code()) {
        case 5:
        case 6:
        case 12:
        case 13:
        case 15:
            return true;
        default:
            return false;
    }
}

std::string connectionTestText(const HECFailure& failure) {
    if (const auto* transport = std::get_if<TransportError>(&failure)) {
        switch (transport->curlCode) {
            // An untrusted, expired or not yet valid server certificate all end here.
            case CURLE_PEER_FAILED_VERIFICATION:
            case CURLE_SSL_ISSUER_ERROR:
                return "SSL certificate not trusted — try disabling Verify SSL";
            case CURLE_OPERATION_TIMEDOUT:
                return "Connection timed out";
            case CURLE_COULDNT_RESOLVE_HOST:
            case CURLE_COULDNT_CONNECT:
                return "Endpoint unreachable";
            default:
                break;
        }
    }
    return failureDescription(failure);
}

}  // namespace ostrel
