#pragma once

#include <functional>
#include <memory>

#include "platform/dispatcher.h"

namespace ostrel {

// Watches whether the machine has a usable way out ("satisfied"). The handler hears the
// current state first and then every change, on the queue given to start(). One monitor
// serves one watch: after cancel() it hears nothing more and cannot be started again.
class NetworkPathMonitor {
  public:
    using Handler = std::function<void(bool satisfied)>;

    virtual ~NetworkPathMonitor() = default;
    // `queue` must outlive the monitor.
    virtual void start(SerialQueue& queue, Handler handler) = 0;
    // Safe from any thread, also from the handler itself, and more than once.
    virtual void cancel() = 0;
};

using NetworkPathMonitorFactory = std::function<std::unique_ptr<NetworkPathMonitor>()>;

// This machine's path monitor.
std::unique_ptr<NetworkPathMonitor> makePlatformNetworkPathMonitor();

}  // namespace ostrel
