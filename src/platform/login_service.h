#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <tl/expected.hpp>

namespace ostrel {

// The desktop's registration of this program as something to start at login. The desktop holds
// the truth: every answer is read back from it, never remembered by the caller.
class LoginService {
  public:
    virtual ~LoginService() = default;

    // Whether the desktop will start the program at the next login.
    virtual bool isEnabled() const = 0;
    // Each fails with a description of why.
    virtual tl::expected<void, std::string> registerService() = 0;
    virtual tl::expected<void, std::string> unregisterService() = 0;
};

// The login registration that starts `executable`, kept in `autostartDirectory`
// (paths::autostartDirectory() in production).
std::unique_ptr<LoginService> makeLoginService(std::filesystem::path autostartDirectory,
                                               std::filesystem::path executable);

}  // namespace ostrel
