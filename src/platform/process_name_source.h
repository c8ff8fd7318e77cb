#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace ostrel {

// The name of one running process, looked up on demand: the parent of a listed process that
// the list itself does not hold.
class ProcessNameSource {
  public:
    virtual ~ProcessNameSource() = default;
    // The executable's name, not cut short where the platform can tell the full one; nothing
    // when the process is gone or cannot be read.
    virtual std::optional<std::string> processName(int64_t pid) = 0;
};

// This machine's process names, read below `procRoot` on Linux.
std::unique_ptr<ProcessNameSource> makeProcessNameSource(
    const std::filesystem::path& procRoot = "/proc");

}  // namespace ostrel
