#include "dashboard/external_files.h"

#include <fcntl.h>
#include <simdjson.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include "platform/file_system.h"
#include "records/record_json.h"

namespace ostrel {
namespace {

constexpr size_t kChunkSize = 256 * 1024;
constexpr std::string_view kWatchedEventKey = "\"event_type\"";

bool hasJsonlExtension(const std::filesystem::path& path) {
    return path.extension() == ".jsonl";
}

// Decodes one line into `out` unless a rule above skips it.
void appendLine(std::string_view line, std::vector<ChartSample>& out) {
    if (line.empty() || !simdjson::validate_utf8(line.data(), line.size())) return;
    if (line.find(kWatchedEventKey) != std::string_view::npos) return;
    auto decoded = decodeJson<SystemMetrics>(line);
    if (!decoded) return;
    const std::shared_ptr<const SystemInfo> shared = out.empty() ? nullptr : out.back().system;
    out.push_back(ChartSample::from(std::move(*decoded), shared));
}

void readFile(const std::filesystem::path& file, std::vector<ChartSample>& out) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    // `pending` holds the bytes after the last complete line; a long line grows it across
    // as many chunks as it spans.
    std::string pending;
    const auto chunk = std::make_unique<char[]>(kChunkSize);
    for (;;) {
        const ssize_t got = ::read(fd, chunk.get(), kChunkSize);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        pending.append(chunk.get(), static_cast<size_t>(got));
        size_t begin = 0;
        for (size_t feed; (feed = pending.find('\n', begin)) != std::string::npos;
             begin = feed + 1) {
            appendLine(std::string_view(pending).substr(begin, feed - begin), out);
        }
        pending.erase(0, begin);
    }
    appendLine(pending, out);  // a last line without a line feed
    ::close(fd);
}

}  // namespace

std::vector<std::filesystem::path> externalMetricFiles(
    const std::vector<std::filesystem::path>& paths) {
    std::vector<std::filesystem::path> kept;
    for (const auto& path : paths) {
        std::error_code error;
        const auto type = std::filesystem::status(path, error).type();
        if (type == std::filesystem::file_type::directory) {
            auto entries = files::listDirectory(path);
            if (!entries) continue;
            // By name, so that a folder reads the same on every file system.
            std::sort(entries->begin(), entries->end());
            std::copy_if(entries->begin(), entries->end(), std::back_inserter(kept),
                         hasJsonlExtension);
        } else if (type != std::filesystem::file_type::not_found && !error &&
                   hasJsonlExtension(path)) {
            kept.push_back(path);
        }
    }
    return kept;
}

std::vector<ChartSample> loadExternalFiles(const std::vector<std::filesystem::path>& files) {
    std::vector<ChartSample> samples;
    for (const auto& file : files)
        readFile(file, samples);
    return samples;
}

}  // namespace ostrel
