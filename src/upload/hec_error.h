#pragma once

#include <string>
#include <variant>

#include "records/record_json.h"

namespace ostrel {

// A fault of the collector's protocol, with the fixed text the monitor shows as its last error.
class HECError {
  public:
    enum class Kind { httpError, hecRejected, invalidEndpoint, insecureEndpoint, invalidResponse };

    static HECError httpError(int statusCode, std::string message);
    static HECError hecRejected(int code, std::string message);
    static HECError invalidEndpoint() { return HECError(Kind::invalidEndpoint, 0, {}); }
    static HECError insecureEndpoint() { return HECError(Kind::insecureEndpoint, 0, {}); }
    static HECError invalidResponse() { return HECError(Kind::invalidResponse, 0, {}); }

    Kind kind() const { return kind_; }
    // The HTTP status of an httpError.
    int statusCode() const { return number_; }
    // The collector's own code of an hecRejected.
    int code() const { return number_; }
    const std::string& message() const { return message_; }

    std::string errorDescription() const;

    bool operator==(const HECError&) const = default;

  private:
    HECError(Kind kind, int number, std::string message)
        : kind_(kind), number_(number), message_(std::move(message)) {}

    Kind kind_;
    int number_;
    std::string message_;
};

// A failure of the HTTP library, passed on as it came: libcurl's code and its own text.
struct TransportError {
    int curlCode = 0;
    std::string description;

    bool operator==(const TransportError&) const = default;
};

// Everything a request can end in: the protocol's error, the transport's, or a record that
// could not be encoded (which stops a batch before anything is sent).
using HECFailure = std::variant<HECError, TransportError, JsonError>;

std::string failureDescription(const HECFailure& failure);

// Whether sending the same batch again can only meet the same answer: the collector found the
// request malformed or too large (HTTP 400, 413), or its data invalid or missing, or a record
// cannot be encoded at all. Authentication, throttling, the collector's own faults and the
// network are not: the same batch may pass later.
bool isPermanentRefusal(const HECFailure& failure);

// The text a connection test shows: a hint for the faults a user can act on, otherwise the
// failure's own description.
std::string connectionTestText(const HECFailure& failure);

}  // namespace ostrel
