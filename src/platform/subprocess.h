#pragma once

#include <filesystem>
#include <string>
#include <tl/expected.hpp>
#include <vector>

namespace ostrel {

struct ProcessOutput {
    // The exit status, or 128 plus the signal that ended the process.
    int exitStatus = 0;
    std::string standardOutput;
};

// Runs `program` with `arguments`, its standard output captured and its standard input and
// error on the null device, and waits for it. Fails, with the reason, only when the program
// cannot be started.
tl::expected<ProcessOutput, std::string> runProcess(const std::filesystem::path& program,
                                                    const std::vector<std::string>& arguments);

}  // namespace ostrel
