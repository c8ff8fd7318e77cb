#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace ostrel {

// "<what> <path>: <the system's reason from errno>", the form of every file error of the store.
tl::unexpected<std::string> fileFailure(std::string_view what, const std::filesystem::path& path);

// Puts `text` in place of `target` in one step: a reader sees the old file or the new one,
// never a part, and after a crash the file is whole, old or new (the folder is not flushed, so
// a crash may lose the latest write). The new file is readable by the owner only, since
// settings may hold the collector's token. The error names the step and the file.
tl::expected<void, std::string> replaceFile(const std::filesystem::path& target,
                                            std::string_view text);

}  // namespace ostrel
