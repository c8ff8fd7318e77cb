#include "collectors/network_collector.h"

#include "logging/logger.h"

namespace ostrel {
namespace {

constexpr auto category = Logger::Category::network;

// The first entry of that name that carries counters, else the first of that name.
const LinkEntry* findLink(const std::vector<LinkEntry>& links, const std::string& name) {
    const LinkEntry* first = nullptr;
    for (const LinkEntry& link : links) {
        if (link.name != name) continue;
        if (link.counters) return &link;
        if (!first) first = &link;
    }
    return first;
}

}  // namespace

NetworkCollector::NetworkCollector(NetworkSource& source) : source_(source) {}

std::optional<std::string> NetworkCollector::findFirstActiveInterface(
    const std::vector<LinkEntry>& links) {
    const LinkEntry* firstOther = nullptr;
    for (const LinkEntry& link : links) {
        if (!link.up || link.loopback) continue;
        if (link.name.starts_with("en")) return link.name;
        if (!firstOther && !link.name.starts_with("lo")) firstOther = &link;
    }
    if (firstOther) return firstOther->name;
    return std::nullopt;
}

NetworkMetrics NetworkCollector::collect() {
    const auto routed = source_.defaultRouteInterface();
    std::string name;
    std::optional<LinkEntry> entry;
    bool listed = true;
    if (routed) {
        name = *routed;
        auto found = source_.link(name);
        listed = found.has_value();
        if (found) entry = std::move(*found);
    } else {
        // Without a route, the first active interface stands in for the primary one.
        auto links = source_.links();
        listed = links && !links->empty();
        if (!listed) links = std::vector<LinkEntry>{};
        name = findFirstActiveInterface(*links).value_or(fallbackInterface);
        if (const LinkEntry* found = findLink(*links, name)) entry = *found;
    }
    if (!listed) Logger::debug("getifaddrs failed", category);

    NetworkMetrics metrics;
    if (entry && entry->counters) {
        const InterfaceCounters& counters = *entry->counters;
        metrics.packetsIn = counters.packetsIn;
        metrics.packetsOut = counters.packetsOut;
        metrics.bytesIn = counters.bytesIn;
        metrics.bytesOut = counters.bytesOut;
        metrics.errorsIn = counters.errorsIn;
        metrics.errorsOut = counters.errorsOut;
    }
    // Reachable means a local routing decision exists: a usable default route on a link that
    // is up. No packet is sent.
    metrics.internetConnected = routed && entry && entry->up;
    metrics.interface = std::move(name);
    return metrics;
}

}  // namespace ostrel
