#pragma once

#include <string>

namespace ostrel::testing {

// A D-Bus daemon of the test's own, on a socket in the private HOME, stopped at scope end.
// `available()` is false where dbus-daemon is not installed.
class PrivateBus {
  public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    bool available() const { return !address_.empty(); }
    // The address to put in DBUS_SESSION_BUS_ADDRESS or DBUS_SYSTEM_BUS_ADDRESS.
    const std::string& address() const { return address_; }

  private:
    int pid_ = -1;
    std::string address_;
};

}  // namespace ostrel::testing
