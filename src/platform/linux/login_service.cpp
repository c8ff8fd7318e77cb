#include "platform/login_service.h"

#include <fstream>
#include <sstream>
#include <system_error>

#include "platform/linux/autostart_entry.h"
#include "platform/linux/replace_file.h"

namespace ostrel {
namespace {

class AutostartLoginService final : public LoginService {
  public:
    AutostartLoginService(std::filesystem::path directory, std::filesystem::path executable)
        : directory_(std::move(directory)), executable_(std::move(executable)) {}

    bool isEnabled() const override {
        std::ifstream in(file());
        if (!in) return false;
        std::stringstream text;
        text << in.rdbuf();
        return autostartEntryEnabled(text.str());
    }

    tl::expected<void, std::string> registerService() override {
        std::error_code error;
        std::filesystem::create_directories(directory_, error);
        if (error) return tl::unexpected(error.message());
        // Replaced in one step, so a session starting meanwhile never reads half an entry.
        return replaceFile(file(), autostartEntry(executable_));
    }

    tl::expected<void, std::string> unregisterService() override {
        std::error_code error;
        std::filesystem::remove(file(), error);
        if (error) return tl::unexpected(error.message());
        return {};
    }

  private:
    std::filesystem::path file() const { return directory_ / kAutostartFileName; }

    std::filesystem::path directory_;
    std::filesystem::path executable_;
};

}  // namespace

std::unique_ptr<LoginService> makeLoginService(std::filesystem::path autostartDirectory,
                                               std::filesystem::path executable) {
    return std::make_unique<AutostartLoginService>(std::move(autostartDirectory),
                                                   std::move(executable));
}

}  // namespace ostrel
