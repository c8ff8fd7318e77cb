// The journal first, syslog second, standard error last. Each is used only when its socket
// exists: sd_journal_send reports success even when nothing listens, so a missing journal would
// otherwise swallow every message.
#define SD_JOURNAL_SUPPRESS_LOCATION  // every entry would name this file, which helps nobody
#include "platform/system_log.h"

#include <sys/stat.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <string>

namespace ostrel {
namespace {

// Indexed by Severity, whose values run from zero in declaration order.
constexpr int kPriorities[] = {LOG_DEBUG, LOG_INFO, LOG_WARNING, LOG_ERR, LOG_CRIT};
constexpr std::string_view kSeverityNames[] = {"debug", "info", "warning", "error", "fault"};

int priorityOf(SystemLog::Severity severity) {
    return kPriorities[static_cast<size_t>(severity)];
}
std::string_view nameOf(SystemLog::Severity severity) {
    return kSeverityNames[static_cast<size_t>(severity)];
}

int length(std::string_view text) {
    return static_cast<int>(text.size());
}

class JournalLog final : public SystemLog {
  public:
    explicit JournalLog(std::string subsystem) : subsystem_(std::move(subsystem)) {}

    // Subsystem and category become fields of their own, so `journalctl CATEGORY=storage`
    // selects one area.
    void write(Severity severity, std::string_view category, std::string_view message) override {
        sd_journal_send("MESSAGE=%.*s", length(message), message.data(),  //
                        "PRIORITY=%d", priorityOf(severity),              //
                        "SYSLOG_IDENTIFIER=ostrel",                       //
                        "SUBSYSTEM=%s", subsystem_.c_str(),               //
                        "CATEGORY=%.*s", length(category), category.data(), nullptr);
    }

  private:
    std::string subsystem_;
};

class Syslog final : public SystemLog {
  public:
    Syslog() { openlog("ostrel", LOG_PID, LOG_USER); }

    void write(Severity severity, std::string_view category, std::string_view message) override {
        syslog(priorityOf(severity), "[%.*s] %.*s", length(category), category.data(),
               length(message), message.data());
    }
};

class StandardErrorLog final : public SystemLog {
  public:
    // One write per line, so lines of several threads never interleave.
    void write(Severity severity, std::string_view category, std::string_view message) override {
        std::string line = "ostrel ";
        line.append(nameOf(severity)).append(" [").append(category).append("] ");
        line.append(message).push_back('\n');
        [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
    }
};

bool isSocket(const std::filesystem::path& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

}  // namespace

std::unique_ptr<SystemLog> makeSystemLog(std::string subsystem,
                                         const SystemLogEndpoints& endpoints) {
    if (isSocket(endpoints.journalSocket))
        return std::make_unique<JournalLog>(std::move(subsystem));
    if (isSocket(endpoints.syslogSocket)) return std::make_unique<Syslog>();
    return std::make_unique<StandardErrorLog>();
}

}  // namespace ostrel
