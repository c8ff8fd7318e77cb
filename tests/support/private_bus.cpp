#include "support/private_bus.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace ostrel::testing {

PrivateBus::PrivateBus() {
    int pipeFds[2];
    if (access("/usr/bin/dbus-daemon", X_OK) != 0 || pipe(pipeFds) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
        close(pipeFds[0]);
        const std::string fd = std::to_string(pipeFds[1]);
        execl("/usr/bin/dbus-daemon", "dbus-daemon", "--session", "--nofork", "--nopidfile",
              ("--print-address=" + fd).c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(pipeFds[1]);
    char buffer[512];
    std::string text;
    ssize_t got;
    while (text.find('\n') == std::string::npos &&
           (got = read(pipeFds[0], buffer, sizeof buffer)) > 0) {
        text.append(buffer, static_cast<size_t>(got));
    }
    close(pipeFds[0]);
    if (const auto end = text.find('\n'); end != std::string::npos) address_ = text.substr(0, end);
}

PrivateBus::~PrivateBus() {
    if (pid_ > 0) {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }
}

}  // namespace ostrel::testing
