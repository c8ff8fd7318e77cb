#include "platform/linux/replace_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "logging/write_all.h"
#include "platform/linux/unique_fd.h"

namespace ostrel {

tl::unexpected<std::string> fileFailure(std::string_view what, const std::filesystem::path& path) {
    return tl::unexpected(fmt::format("{} {}: {}", what, path.string(), std::strerror(errno)));
}

tl::expected<void, std::string> replaceFile(const std::filesystem::path& target,
                                            std::string_view text) {
    std::string temporary = target.string() + ".XXXXXX";
    UniqueFd file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) return fileFailure("cannot create a file beside", target);
    tl::expected<void, std::string> written;
    if (!writeAll(file.get(), text)) written = fileFailure("cannot write", temporary);
    if (written && ::fsync(file.get()) != 0) written = fileFailure("cannot flush", temporary);
    if (written && ::rename(temporary.c_str(), target.c_str()) != 0) {
        written = fileFailure("cannot replace", target);
    }
    if (!written) ::unlink(temporary.c_str());
    return written;
}

}  // namespace ostrel
