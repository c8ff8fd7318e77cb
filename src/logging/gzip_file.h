#pragma once

#include <filesystem>

namespace ostrel {

// Replaces `source` by `source` plus ".gz" in gzip format, as the gzip program would: the
// original name and modification time in the header, mode and times kept on the new file.
// Refuses to overwrite an existing ".gz". On failure the source stays and no partial ".gz"
// is left. Returns whether the source was replaced.
bool gzipFile(const std::filesystem::path& source);

}  // namespace ostrel
