#pragma once

#include <functional>
#include <memory>

namespace ostrel {

// While it lives, a request to end the process (SIGTERM from a service manager or kill, SIGINT
// from a terminal) does not end it outright but calls the handler, on a thread of its own, so
// the program can shut down in order. Afterwards the signals act as they did before.
class TerminationSignals {
  public:
    virtual ~TerminationSignals() = default;
};

std::unique_ptr<TerminationSignals> watchTerminationSignals(
    std::function<void(int signal)> handler);

}  // namespace ostrel
