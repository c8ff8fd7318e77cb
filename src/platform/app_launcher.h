#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <tl/expected.hpp>

namespace ostrel {

struct LaunchFailure {
    enum class Kind {
        applicationNotFound,  // there is no executable to start
        couldNotStart,        // starting it failed; `description` says why
        exitStatus,           // the launching step ended with a non-zero `exitCode`
    };
    Kind kind;
    std::string description;
    int exitCode = 0;
};

// Starts a new instance of the application, detached from the caller: its own session, no
// arguments, standard streams on the null device. Returns once the instance runs.
class AppLauncher {
  public:
    virtual ~AppLauncher() = default;
    virtual tl::expected<void, LaunchFailure> launchApplication() = 0;
};

// A launcher of `executable`; with none, every launch fails as not found.
std::unique_ptr<AppLauncher> makeAppLauncher(std::optional<std::filesystem::path> executable);
// The file this process runs from, when the system can tell.
std::optional<std::filesystem::path> ownExecutable();

}  // namespace ostrel
