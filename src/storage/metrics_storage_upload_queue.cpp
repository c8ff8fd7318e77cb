// The upload queue: a second copy of each line in upload/pending.jsonl, handed to the upload
// cycle by renaming it to uploading-<seconds>.jsonl. No handle on the pending file is kept
// between lines, so at the pending name a writer finds the file or nothing, and the rename
// alone moves the queue along.
#include <algorithm>

#include "logging/logger.h"
#include "platform/file_system.h"
#include "storage/metric_lines.h"
#include "storage/metrics_storage.h"

namespace ostrel {
namespace {

constexpr std::string_view kUploadingPrefix = "uploading-";

// Queue files left by earlier swaps, oldest first (the name holds the time; compared as text).
std::vector<std::filesystem::path> uploadingFiles(
    const std::vector<std::filesystem::path>& entries) {
    std::vector<std::filesystem::path> found;
    for (const auto& entry : entries) {
        if (entry.filename().string().starts_with(kUploadingPrefix)) found.push_back(entry);
    }
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace

tl::expected<void, StorageError> MetricsStorage::copyToUploadQueue(std::string_view line) {
    // Made at the first line, not at start.
    if (auto ready = ensureDirectory(uploadDirectory_); !ready) return ready;
    const Path pending = uploadDirectory_ / kPendingFilename;
    // Only to keep writers apart; the swap takes no lock and may rename the file at any
    // moment. A line written through a handle opened just before the rename lands in the
    // renamed file, which is then on its way to upload.
    std::lock_guard lock(fileHandleLock_);
    auto file = AppendFile::open(pending);
    if (!file) return tl::unexpected(StorageError::fileSystem(file.error(), pending));
    if (auto written = file->append(line); !written) {
        return tl::unexpected(StorageError::fileSystem(written.error(), pending));
    }
    return {};
}

std::vector<MetricsStorage::Path> MetricsStorage::swapPendingFileForUpload() {
    const auto entries = files::listDirectory(uploadDirectory_);
    std::vector<Path> queue = entries ? uploadingFiles(*entries) : std::vector<Path>{};
    const Path pending = uploadDirectory_ / kPendingFilename;
    const auto status = files::status(pending);
    // An empty pending file stays where it is.
    if (!status || status->size < 1) return queue;

    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(clock_.now().time_since_epoch()).count();
    const std::string name =
        metric_lines::jsonlName(std::string(kUploadingPrefix) + std::to_string(seconds));
    const Path target = uploadDirectory_ / name;
    // Never over an existing name: that file's lines would be lost. The pending file then
    // waits for the next cycle.
    if (auto error = files::renameNoReplace(pending, target)) {
        Logger::error("Failed to swap pending file", error.message() + ": " + target.string(),
                      Logger::Category::storage);
        return queue;
    }
    queue.push_back(target);
    Logger::debug("Swapped pending file for upload: " + name, Logger::Category::storage);
    return queue;
}

int64_t MetricsStorage::pendingUploadCount() const {
    int64_t lines = countLines(uploadDirectory_ / kPendingFilename);
    const auto entries = files::listDirectory(uploadDirectory_);
    if (!entries) return lines;
    for (const Path& file : uploadingFiles(*entries))
        lines += countLines(file);
    return lines;
}

void MetricsStorage::deleteUploadQueueFile(const Path& file) {
    // A file that stays is sent again as a leftover: duplicates, but no lost lines.
    (void)files::remove(file);
    Logger::debug("Deleted upload queue file: " + file.filename().string(),
                  Logger::Category::storage);
}

void MetricsStorage::clearUploadQueue() {
    const auto entries = files::listDirectory(uploadDirectory_);
    if (!entries) return;
    int64_t deleted = 0;
    for (const Path& entry : *entries) {
        if (!metric_lines::isJsonl(entry)) continue;
        (void)files::remove(entry);
        ++deleted;
    }
    if (deleted > 0) logAudit("clear_upload_queue", {{"files_deleted", std::to_string(deleted)}});
}

}  // namespace ostrel
