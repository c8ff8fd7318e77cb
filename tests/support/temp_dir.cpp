#include "support/temp_dir.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace ostrel::testing {

TempDir::TempDir() {
    const char* home = std::getenv("HOME");
    std::string pattern = (std::filesystem::path(home ? home : "/tmp") / "tmp-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TempDir::write(const std::filesystem::path& name,
                                     const std::string& content) const {
    const auto target = path_ / name;
    std::filesystem::create_directories(target.parent_path());
    std::ofstream(target, std::ios::binary) << content;
    return target;
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string fixture(const std::string& name) {
    return readFile(std::filesystem::path(OSTREL_FIXTURES_DIR) / name);
}

}  // namespace ostrel::testing
