// Every test process runs under a private, empty HOME with its own XDG folders, so no test
// reads or writes the real user's settings, metrics or log.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

std::string makePrivateHome() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ostrel-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    return pattern;
}

void setFolder(const char* variable, const std::filesystem::path& path) {
    std::filesystem::create_directories(path);
    chmod(path.c_str(), 0700);
    setenv(variable, path.c_str(), 1);
}

}  // namespace

int main(int argc, char** argv) {
    const std::filesystem::path home = makePrivateHome();
    setenv("HOME", home.c_str(), 1);
    setFolder("XDG_CONFIG_HOME", home / ".config");
    setFolder("XDG_DATA_HOME", home / ".local/share");
    setFolder("XDG_STATE_HOME", home / ".local/state");
    setFolder("XDG_CACHE_HOME", home / ".cache");
    setFolder("XDG_RUNTIME_DIR", home / "run");

    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();

    if (!std::getenv("OSTREL_KEEP_TEST_HOME")) {
        std::error_code ignored;
        std::filesystem::remove_all(home, ignored);
    }
    return result;
}
