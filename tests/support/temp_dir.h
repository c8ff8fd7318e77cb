#pragma once

#include <filesystem>
#include <string>

namespace ostrel::testing {

// A fresh folder under the test's private HOME, removed with everything in it at scope end.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& name) const {
        return path_ / name;
    }

    // Writes `content` to `name` under the folder, creating intermediate folders.
    std::filesystem::path write(const std::filesystem::path& name,
                                const std::string& content) const;

  private:
    std::filesystem::path path_;
};

std::string readFile(const std::filesystem::path& path);
// A captured file under tests/fixtures, named by its folder and name ("linux/proc_stat_vm.txt").
std::string fixture(const std::string& name);

}  // namespace ostrel::testing
