#pragma once

#include <sys/types.h>

#include <string>

#include "support/temp_dir.h"

namespace ostrel::testing {

// A D-Bus daemon of the test's own, with a socket in a temporary folder and no activatable
// services, so that what answers on it is only what the test registers. Stopped at scope end.
class PrivateSessionBus {
  public:
    PrivateSessionBus();
    ~PrivateSessionBus();
    PrivateSessionBus(const PrivateSessionBus&) = delete;
    PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

    // The address to connect to; empty when the daemon could not be started.
    const std::string& address() const { return address_; }

  private:
    TempDir folder_;
    pid_t pid_ = -1;
    std::string address_;
};

}  // namespace ostrel::testing
