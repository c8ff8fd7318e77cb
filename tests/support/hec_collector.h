#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ostrel::testing {

// One HTTP request as the test collector read it off the wire.
struct HecRequest {
    std::string method;
    std::string target;  // path and query, as sent
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;

    // The first header of that name, compared without regard to case.
    std::optional<std::string> header(std::string_view name) const;
};

struct HecAnswer {
    int status = 0;
    std::string contentType;
    std::string body;
};

// One event the collector accepted, its envelope's fields as sent.
struct HecReceivedEvent {
    std::optional<double> time;
    std::string host;
    std::string source;
    std::string sourcetype;
    std::string index;
    std::string event;  // the "event" value's JSON text, byte for byte
};

struct HecVerdict {
    HecAnswer answer;
    std::vector<HecReceivedEvent> events;  // empty unless the whole request was accepted
};

// The collector's answer to a request, with the status codes and JSON bodies it documents:
// the token check, the event endpoints taking one JSON object after another, and the health
// resource. `busy` answers as a collector whose queues are full.
HecVerdict answerAsCollector(const HecRequest& request, std::string_view token, bool busy);

}  // namespace ostrel::testing
