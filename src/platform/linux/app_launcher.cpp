#include "platform/app_launcher.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/linux/unique_fd.h"

namespace ostrel {
namespace {

// Only async-signal-safe calls between fork and exec: the caller may have threads.
[[noreturn]] void reportAndExit(int reportFd, int error, int status) {
    [[maybe_unused]] const auto written = write(reportFd, &error, sizeof error);
    _exit(status);
}

[[noreturn]] void becomeApplication(const char* path, int reportFd) {
    const int null = open("/dev/null", O_RDWR);
    if (null < 0) reportAndExit(reportFd, errno, 127);
    dup2(null, STDIN_FILENO);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    // Nothing of the client's open files reaches the application; the report pipe closes on
    // a successful exec, which is how the client learns that the application runs.
    syscall(SYS_close_range, 3U, ~0U, CLOSE_RANGE_CLOEXEC);
    char* const argv[] = {const_cast<char*>(path), nullptr};
    execv(path, argv);
    reportAndExit(reportFd, errno, 127);
}

class ForkingAppLauncher : public AppLauncher {
  public:
    explicit ForkingAppLauncher(std::optional<std::filesystem::path> executable)
        : executable_(std::move(executable)) {}

    tl::expected<void, LaunchFailure> launchApplication() override {
        if (!executable_)
            return tl::unexpected(LaunchFailure{LaunchFailure::Kind::applicationNotFound, {}});
        const std::string path = executable_->string();
        int pipeEnds[2];
        if (pipe2(pipeEnds, O_CLOEXEC) != 0) return couldNotStart(errno);
        UniqueFd readEnd(pipeEnds[0]);
        UniqueFd writeEnd(pipeEnds[1]);

        // Fork twice with a new session between: the application is nobody's child here and
        // has no controlling terminal, so it outlives the client and its shell.
        const pid_t intermediate = fork();
        if (intermediate < 0) return couldNotStart(errno);
        if (intermediate == 0) {
            if (setsid() < 0) reportAndExit(writeEnd.get(), errno, 1);
            const pid_t application = fork();
            if (application < 0) reportAndExit(writeEnd.get(), errno, 1);
            if (application > 0) _exit(0);
            becomeApplication(path.c_str(), writeEnd.get());
        }
        writeEnd.reset();

        int status = 0;
        while (waitpid(intermediate, &status, 0) < 0 && errno == EINTR) {
        }
        int error = 0;
        ssize_t length;
        while ((length = read(readEnd.get(), &error, sizeof error)) < 0 && errno == EINTR) {
        }
        if (length == ssize_t(sizeof error)) return couldNotStart(error);
        const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        if (code != 0)
            return tl::unexpected(LaunchFailure{LaunchFailure::Kind::exitStatus, {}, code});
        return {};
    }

  private:
    static tl::unexpected<LaunchFailure> couldNotStart(int error) {
        return tl::unexpected(
            LaunchFailure{LaunchFailure::Kind::couldNotStart, std::strerror(error)});
    }

    std::optional<std::filesystem::path> executable_;
};

}  // namespace

std::unique_ptr<AppLauncher> makeAppLauncher(std::optional<std::filesystem::path> executable) {
    return std::make_unique<ForkingAppLauncher>(std::move(executable));
}

std::optional<std::filesystem::path> ownExecutable() {
    std::error_code error;
    auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return std::nullopt;
    return path;
}

}  // namespace ostrel
