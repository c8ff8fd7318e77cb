#include "support/hec_collector.h"

#include <simdjson.h>
#include <strings.h>

#include <cctype>
#include <charconv>

namespace ostrel::testing {
namespace {

HecAnswer json(int status, std::string_view text, int code) {
    return {status, "application/json; charset=UTF-8",
            "{\"text\":\"" + std::string(text) + "\",\"code\":" + std::to_string(code) + "}"};
}

// Refusals of one event name it by its place in the body, counting from 0.
HecAnswer invalidEvent(std::string_view text, int code, size_t eventNumber) {
    HecAnswer answer = json(400, text, code);
    answer.body.pop_back();
    answer.body += ",\"invalid-event-number\":" + std::to_string(eventNumber) + "}";
    return answer;
}

bool isBlank(std::string_view text) {
    for (const char c : text) {
        if (!std::isspace(static_cast<unsigned char>(c))) return false;
    }
    return true;
}

// Length of the object that opens `text`, found by nesting alone, or 0 if it never closes.
// The parser checks the object itself afterwards.
size_t objectLength(std::string_view text) {
    int depth = 0;
    bool inString = false, escaped = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (escaped) {
                escaped = false;
            } else if (c == '\\') {
                escaped = true;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '{' || c == '[') {
            ++depth;
        } else if ((c == '}' || c == ']') && --depth == 0) {
            return i + 1;
        }
    }
    return 0;
}

enum class EventProblem { none, invalid, missingEvent, blankEvent };

// The JSON text of a nested object or array, byte for byte as sent.
template <class Nested>
bool rawText(simdjson::ondemand::value& value, std::string_view& text) {
    Nested nested;
    return !value.get(nested) && !nested.raw_json().get(text);
}

EventProblem readEvent(std::string_view object, HecReceivedEvent& event) {
    const simdjson::padded_string padded(object);
    simdjson::dom::parser validator;
    if (validator.parse(padded).error()) return EventProblem::invalid;

    simdjson::ondemand::parser parser;
    simdjson::ondemand::document document;
    simdjson::ondemand::object fields;
    if (parser.iterate(padded).get(document) || document.get_object().get(fields)) {
        return EventProblem::invalid;
    }
    bool hasEvent = false;
    for (auto field : fields) {
        std::string_view key;
        simdjson::ondemand::value value;
        if (field.unescaped_key().get(key) || field.value().get(value)) {
            return EventProblem::invalid;
        }
        std::string_view text;
        if (key == "event") {
            hasEvent = true;
            simdjson::ondemand::json_type type;
            if (value.type().get(type)) return EventProblem::invalid;
            if (type == simdjson::ondemand::json_type::object) {
                if (!rawText<simdjson::ondemand::object>(value, text)) return EventProblem::invalid;
            } else if (type == simdjson::ondemand::json_type::array) {
                if (!rawText<simdjson::ondemand::array>(value, text)) return EventProblem::invalid;
            } else {
                text = value.raw_json_token();
                std::string_view unescaped;
                const bool blank = type == simdjson::ondemand::json_type::null ||
                                   (type == simdjson::ondemand::json_type::string &&
                                    !value.get_string().get(unescaped) && isBlank(unescaped));
                if (blank) return EventProblem::blankEvent;
            }
            event.event.assign(text);
        } else if (key == "time") {
            double seconds;
            if (value.get_double().get(seconds) == simdjson::SUCCESS) {
                event.time = seconds;
            } else if (!value.get_string().get(text)) {
                // The collector also takes epoch seconds written as a string.
                if (std::from_chars(text.data(), text.data() + text.size(), seconds).ec !=
                    std::errc{}) {
                    return EventProblem::invalid;
                }
                event.time = seconds;
            } else {
                return EventProblem::invalid;
            }
        } else if (key == "host" || key == "source" || key == "sourcetype" || key == "index") {
            if (value.get_string().get(text)) return EventProblem::invalid;
            std::string& slot = key == "host"         ? event.host
                                : key == "source"     ? event.source
                                : key == "sourcetype" ? event.sourcetype
                                                      : event.index;
            slot.assign(text);
        }
    }
    return hasEvent ? EventProblem::none : EventProblem::missingEvent;
}

HecVerdict acceptEvents(std::string_view body) {
    if (isBlank(body)) return {json(400, "No data", 5), {}};
    HecVerdict verdict;
    size_t position = 0;
    for (size_t number = 0;; ++number) {
        while (position < body.size() && std::isspace(static_cast<unsigned char>(body[position]))) {
            ++position;
        }
        if (position == body.size()) break;
        const std::string_view rest = body.substr(position);
        const size_t length = rest.front() == '{' ? objectLength(rest) : 0;
        HecReceivedEvent event;
        const EventProblem problem =
            length == 0 ? EventProblem::invalid : readEvent(rest.substr(0, length), event);
        switch (problem) {
            case EventProblem::invalid:
                return {invalidEvent("Invalid data format", 6, number), {}};
            case EventProblem::missingEvent:
                return {invalidEvent("Event field is required", 12, number), {}};
            case EventProblem::blankEvent:
                return {invalidEvent("Event field cannot be blank", 13, number), {}};
            case EventProblem::none:
                break;
        }
        verdict.events.push_back(std::move(event));
        position += length;
    }
    verdict.answer = json(200, "Success", 0);
    return verdict;
}

std::optional<HecAnswer> checkToken(const HecRequest& request, std::string_view token) {
    const auto authorization = request.header("Authorization");
    if (!authorization) return json(401, "Token is required", 2);
    std::string_view value = *authorization;
    const size_t space = value.find(' ');
    const std::string_view scheme = value.substr(0, space);
    std::string_view given = space == std::string_view::npos ? "" : value.substr(space + 1);
    while (!given.empty() && given.front() == ' ')
        given.remove_prefix(1);
    if (scheme.size() != 6 || strncasecmp(scheme.data(), "Splunk", 6) != 0) {
        return json(401, "Invalid authorization", 3);
    }
    if (given.empty()) return json(401, "Token is required", 2);
    if (given != token) return json(403, "Invalid token", 4);
    return std::nullopt;
}

}  // namespace

std::optional<std::string> HecRequest::header(std::string_view name) const {
    for (const auto& [key, value] : headers) {
        if (key.size() == name.size() && strncasecmp(key.data(), name.data(), name.size()) == 0) {
            return value;
        }
    }
    return std::nullopt;
}

HecVerdict answerAsCollector(const HecRequest& request, std::string_view token, bool busy) {
    const std::string_view path =
        std::string_view(request.target)
            .substr(0, std::min(request.target.find('?'), request.target.size()));
    if (path == "/services/collector/health" || path == "/services/collector/health/1.0") {
        if (busy) return {json(503, "HEC is unhealthy, queues are full", 18), {}};
        return {json(200, "HEC is healthy", 17), {}};
    }
    if (path != "/services/collector" && path != "/services/collector/event" &&
        path != "/services/collector/event/1.0") {
        return {json(404, "The requested URL was not found on this server.", 404), {}};
    }
    if (auto refusal = checkToken(request, token)) return {std::move(*refusal), {}};
    if (busy) return {json(503, "Server is busy", 9), {}};
    return acceptEvents(request.body);
}

}  // namespace ostrel::testing
