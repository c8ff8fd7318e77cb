#include "collectors/network_collector.h"

#include "logging/logger.h"

namespace ostrel {
namespace {

constexpr auto category = Logger::Category::network;

const LinkEntry* findLink(const std::vector<LinkEntry>& links, const std::string& name) {
    for (const LinkEntry& link : links) {
        if (link.name == name) return &link;
    }
    return nullptr;
}

// The first entry of that name that carries counters.
const InterfaceCounters* findCounters(const std::vector<LinkEntry>& links,
                                      const std::string& name) {
    for (const LinkEntry& link : links) {
        if (link.name == name && link.counters) return &*link.counters;
    }
    return nullptr;
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
    auto links = source_.links();
    if (!links || links->empty()) {
        Logger::debug("getifaddrs failed", category);
        links = std::vector<LinkEntry>{};
    }

    NetworkMetrics metrics;
    std::string name =
        routed ? *routed : findFirstActiveInterface(*links).value_or(fallbackInterface);
    if (const InterfaceCounters* counters = findCounters(*links, name)) {
        metrics.packetsIn = counters->packetsIn;
        metrics.packetsOut = counters->packetsOut;
        metrics.bytesIn = counters->bytesIn;
        metrics.bytesOut = counters->bytesOut;
        metrics.errorsIn = counters->errorsIn;
        metrics.errorsOut = counters->errorsOut;
    }
    // Reachable means a local routing decision exists: a usable default route on a link that
    // is up. No packet is sent.
    const LinkEntry* routedLink = routed ? findLink(*links, *routed) : nullptr;
    metrics.internetConnected = routedLink && routedLink->up;
    metrics.interface = std::move(name);
    return metrics;
}

}  // namespace ostrel
