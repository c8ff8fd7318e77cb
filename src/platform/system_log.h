#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace ostrel {

// The machine's own log, which receives every message beside the log file: on Linux the
// journal, syslog or standard error, whichever the machine offers.
class SystemLog {
  public:
    enum class Severity { debug, info, warning, error, fault };

    virtual ~SystemLog() = default;
    virtual void write(Severity severity, std::string_view category, std::string_view message) = 0;
};

// Where the machine's log services listen; a test names paths of its own.
struct SystemLogEndpoints {
    std::filesystem::path journalSocket = "/run/systemd/journal/socket";
    std::filesystem::path syslogSocket = "/dev/log";
};

// The best log the machine offers now, tagged with `subsystem`. Standard error when there is
// no log service at all, so that messages are never lost silently.
std::unique_ptr<SystemLog> makeSystemLog(std::string subsystem,
                                         const SystemLogEndpoints& endpoints = {});

}  // namespace ostrel
