#include "support/private_session_bus.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostrel::testing {

PrivateSessionBus::PrivateSessionBus() {
    const auto config = folder_.write("bus.conf", R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=)" + folder_.path().string() +
                                                      R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)");
    const std::string configOption = "--config-file=" + config.string();

    int output[2];
    if (pipe2(output, O_CLOEXEC) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
        dup2(output[1], STDOUT_FILENO);
        execlp("dbus-daemon", "dbus-daemon", configOption.c_str(), "--nofork", "--print-address",
               static_cast<char*>(nullptr));
        _exit(127);
    }
    close(output[1]);
    // The daemon prints its address once it listens.
    char c = 0;
    while (pid_ > 0 && read(output[0], &c, 1) == 1 && c != '\n')
        address_ += c;
    close(output[0]);
}

PrivateSessionBus::~PrivateSessionBus() {
    if (pid_ <= 0) return;
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
}

}  // namespace ostrel::testing
