#pragma once

#include <functional>
#include <memory>

#include "platform/dispatcher.h"

namespace ostrel {

// Tells when the machine has woken from sleep. The handler runs on the dispatcher's main
// queue; observing ends when the returned object is destroyed, which happens on the main queue.
class WakeObservation {
  public:
    virtual ~WakeObservation() = default;
};

std::unique_ptr<WakeObservation> observeSystemWake(Dispatcher& dispatcher, Task onWake);

}  // namespace ostrel
