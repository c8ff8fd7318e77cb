// The upload queue: a second copy of each line in upload/pending.jsonl, rolled into the queue
// as uploading-<seconds>.jsonl at each upload cycle and whenever it passes kRollBytes. Every
// write, roll and count change happens under fileHandleLock_, so a line lands in exactly one
// file and the count of waiting records stays exact without re-reading the queue.
#include <fmt/format.h>

#include <algorithm>

#include "logging/logger.h"
#include "platform/file_system.h"
#include "storage/metric_lines.h"
#include "storage/metrics_storage.h"

namespace ostrel {
namespace {

constexpr std::string_view kUploadingPrefix = "uploading-";
constexpr auto kStorage = Logger::Category::storage;

bool isUploadingFile(const std::filesystem::path& path) {
    return path.filename().string().starts_with(kUploadingPrefix);
}

// The entries of `folder` that pass `keep`, sorted by path; none if it cannot be listed.
template <class Keep>
std::vector<std::filesystem::path> listed(const std::filesystem::path& folder, Keep keep) {
    const auto entries = files::listDirectory(folder);
    std::vector<std::filesystem::path> found;
    if (!entries) return found;
    for (const auto& entry : *entries)
        if (keep(entry)) found.push_back(entry);
    // The name holds the time, compared as text: oldest first.
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace

MetricsStorage::Path MetricsStorage::rejectedDirectory() const {
    return uploadDirectory_ / kRejectedFolder;
}

UploadQueueLedger::Entry MetricsStorage::measure(const Path& file) {
    const auto status = files::status(file);
    return {files::countLines(file), status ? status->size : 0};
}

UploadQueueLedger::Entry MetricsStorage::take(UploadQueueLedger& ledger, const Path& file,
                                              const Path& now) {
    // A file put in the queue from outside after the first count is measured where it is now.
    if (auto entry = ledger.remove(file)) return *entry;
    return measure(now);
}

MetricsStorage::QueueLedgers& MetricsStorage::queueLedgers() {
    if (queueLedgers_) return *queueLedgers_;
    // Counted once, at the first use: the one time the whole queue is read.
    QueueLedgers& ledgers = queueLedgers_.emplace();
    const Path pending = uploadDirectory_ / kPendingFilename;
    ledgers.waiting.add(pending, measure(pending));
    for (const Path& file : listed(uploadDirectory_, isUploadingFile))
        ledgers.waiting.add(file, measure(file));
    for (const Path& file : listed(rejectedDirectory(), metric_lines::isJsonl))
        ledgers.rejected.add(file, measure(file));
    return ledgers;
}

std::error_code MetricsStorage::rollPendingFile(Path& target) {
    const Path pending = uploadDirectory_ / kPendingFilename;
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(clock_.now().time_since_epoch()).count();
    target = uploadDirectory_ /
             metric_lines::jsonlName(std::string(kUploadingPrefix) + std::to_string(seconds));
    UploadQueueLedger& waiting = queueLedgers().waiting;  // counted before the rename
    // Never over an existing name: that file's lines would be lost. The pending file then
    // waits for the next roll.
    if (auto error = files::renameNoReplace(pending, target)) return error;
    waiting.move(pending, target);
    return {};
}

tl::expected<void, StorageError> MetricsStorage::copyToUploadQueue(std::string_view line) {
    // Made at the first line, not at start.
    if (auto ready = ensureDirectory(uploadDirectory_); !ready) return ready;
    const Path pending = uploadDirectory_ / kPendingFilename;
    std::lock_guard lock(fileHandleLock_);
    // Counted before the line goes in, so that a first count does not take it twice.
    UploadQueueLedger& waiting = queueLedgers().waiting;
    auto file = AppendFile::open(pending);
    if (!file) return tl::unexpected(StorageError::fileSystem(file.error(), pending));
    if (auto written = file->append(line); !written) {
        return tl::unexpected(StorageError::fileSystem(written.error(), pending));
    }
    waiting.add(pending, {1, line.size()});
    // One file is one request: past this size it joins the queue at once, so that no request
    // is larger than collectors commonly accept. A failed roll is tried again at the next line.
    if (file->size().value_or(0) >= kRollBytes) {
        Path target;
        if (!rollPendingFile(target)) {
            Logger::debug(
                "Rolled full pending file into the upload queue: " + target.filename().string(),
                kStorage);
        }
    }
    return {};
}

std::vector<MetricsStorage::Path> MetricsStorage::swapPendingFileForUpload() {
    // Under the writers' lock, so that no roll comes between the listing and the rename.
    std::lock_guard lock(fileHandleLock_);
    std::vector<Path> queue = listed(uploadDirectory_, isUploadingFile);
    const auto status = files::status(uploadDirectory_ / kPendingFilename);
    // An empty pending file stays where it is.
    if (!status || status->size < 1) return queue;
    Path target;
    if (auto error = rollPendingFile(target)) {
        Logger::error("Failed to swap pending file", error.message() + ": " + target.string(),
                      kStorage);
        return queue;
    }
    queue.push_back(target);
    Logger::debug("Swapped pending file for upload: " + target.filename().string(), kStorage);
    return queue;
}

std::optional<MetricsStorage::Path> MetricsStorage::oldestQueueFile() {
    const QueueLedgers& ledgers = queueLedgers();
    const auto waiting = ledgers.waiting.first(isUploadingFile);
    const auto rejected = ledgers.rejected.first([](const Path&) { return true; });
    if (!waiting || !rejected) return waiting ? waiting : rejected;
    return rejected->filename() < waiting->filename() ? rejected : waiting;
}

int64_t MetricsStorage::pendingUploadCount() {
    std::lock_guard lock(fileHandleLock_);
    return queueLedgers().waiting.total().lines;
}

int64_t MetricsStorage::rejectedUploadCount() {
    std::lock_guard lock(fileHandleLock_);
    return queueLedgers().rejected.total().lines;
}

void MetricsStorage::deleteUploadQueueFile(const Path& file) {
    // A file that stays is sent again as a leftover: duplicates, but no lost lines.
    (void)files::remove(file);
    {
        std::lock_guard lock(fileHandleLock_);
        queueLedgers().waiting.remove(file);
    }
    Logger::debug("Deleted upload queue file: " + file.filename().string(), kStorage);
}

std::error_code MetricsStorage::rejectUploadQueueFile(const Path& file) {
    if (auto error = files::makeDirectories(rejectedDirectory())) return error;
    const Path target = rejectedDirectory() / file.filename();
    std::lock_guard lock(fileHandleLock_);
    QueueLedgers& ledgers = queueLedgers();  // counted before the move, so it counts once
    if (auto error = files::renameNoReplace(file, target)) return error;
    ledgers.rejected.add(target, take(ledgers.waiting, file, target));
    return {};
}

void MetricsStorage::clearUploadQueue() {
    int64_t deleted = 0;
    for (const Path& folder : {uploadDirectory_, rejectedDirectory()}) {
        for (const Path& entry : listed(folder, metric_lines::isJsonl)) {
            (void)files::remove(entry);
            ++deleted;
        }
    }
    {
        std::lock_guard lock(fileHandleLock_);
        queueLedgers_.reset();  // counted afresh from what is left
    }
    if (deleted > 0) logAudit("clear_upload_queue", {{"files_deleted", std::to_string(deleted)}});
}

}  // namespace ostrel
