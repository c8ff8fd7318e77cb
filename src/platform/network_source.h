#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "platform/read_error.h"

namespace ostrel {

// Link-level counters as the platform reports them: 32 bits, wrapping without correction.
struct InterfaceCounters {
    uint32_t packetsIn = 0;
    uint32_t packetsOut = 0;
    uint32_t bytesIn = 0;
    uint32_t bytesOut = 0;
    uint32_t errorsIn = 0;
    uint32_t errorsOut = 0;

    bool operator==(const InterfaceCounters&) const = default;
};

// One link-level interface entry.
struct LinkEntry {
    std::string name;
    bool up = false;
    bool loopback = false;
    std::optional<InterfaceCounters> counters;

    bool operator==(const LinkEntry&) const = default;
};

class NetworkSource {
  public:
    virtual ~NetworkSource() = default;
    // The interface of the usable default route, IPv4 before IPv6; none without one.
    virtual std::optional<std::string> defaultRouteInterface() = 0;
    // The link-level entry of one interface; none when there is no such interface.
    virtual tl::expected<std::optional<LinkEntry>, ReadError> link(const std::string& name) = 0;
    // Every link-level entry in the platform's order, for choosing an interface without a route.
    virtual tl::expected<std::vector<LinkEntry>, ReadError> links() = 0;
};

}  // namespace ostrel
