// Pruning of the metric files by size and by age, and the wipe of the whole store.
#include <fmt/format.h>
#include <time.h>

#include <algorithm>

#include "logging/logger.h"
#include "platform/file_system.h"
#include "storage/metrics_storage.h"

namespace ostrel {
namespace {

// `days` calendar days before `now` in the local calendar, so a day with a clock change
// still counts as one day. Absent when no such date exists.
std::optional<Date> calendarDaysBefore(Date now, int64_t days) {
    const time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    if (!localtime_r(&seconds, &local)) return std::nullopt;
    local.tm_mday -= static_cast<int>(days);
    local.tm_isdst = -1;
    const time_t cutoff = mktime(&local);
    if (cutoff == -1) return std::nullopt;
    return std::chrono::system_clock::from_time_t(cutoff) +
           (now - std::chrono::system_clock::from_time_t(seconds));
}

// "80.0", "5.6000000000000005": the shortest form that reads back, always with a point.
std::string decimal(double value) {
    std::string text = fmt::format("{}", value);
    if (text.find_first_of(".eEn") == std::string::npos) text += ".0";
    return text;
}

}  // namespace

void MetricsStorage::pruneIfNeeded() {
    const MonitorConfig config = configCopy();
    const double sizeMB = getHealth().pendingSizeMB;
    if (sizeMB > static_cast<double>(config.maxStorageMB)) {
        Logger::info(fmt::format("Storage size {:.1f}MB exceeds max {}MB, pruning", sizeMB,
                                 config.maxStorageMB),
                     Logger::Category::storage);
        pruneOldestFiles(0.8 * static_cast<double>(config.maxStorageMB));
    }
    pruneByAge();
    pruneUploadQueue();
}

void MetricsStorage::pruneOldestFiles(double targetMB) {
    const auto listed = metricsFiles();
    if (!listed) return;
    const auto current = currentFileCopy();
    // Up to 30 s old: a little too much or too little may go.
    double runningMB = getHealth().pendingSizeMB;
    int64_t deleted = 0;
    for (const Path& file : *listed) {
        if (runningMB <= targetMB) break;
        if (file == current) continue;
        const auto status = files::status(file);
        if (!status) continue;
        // A file that cannot be removed still counts, so the loop ends; the next check finds
        // it again.
        (void)files::remove(file);
        runningMB -= static_cast<double>(status->size) / kBytesPerMB;
        ++deleted;
    }
    if (deleted > 0) {
        // The cached size no longer holds: without this the next check, ten samples on,
        // would prune again from the old figure.
        invalidateAllCaches();
        logAudit("prune_size", {{"files_deleted", std::to_string(deleted)},
                                {"reason", "exceeded_max_storage_mb"},
                                {"target_mb", decimal(targetMB)}});
    }
}

void MetricsStorage::pruneByAge() {
    const MonitorConfig config = configCopy();
    const auto cutoff = calendarDaysBefore(clock_.now(), config.retentionDays);
    if (!cutoff) return;
    const auto listed = metricsFiles();
    if (!listed) return;
    const auto current = currentFileCopy();
    int64_t deleted = 0;
    for (const Path& file : *listed) {
        if (file == current) continue;
        const auto status = files::status(file);
        if (!status || status->created >= *cutoff) continue;
        (void)files::remove(file);
        ++deleted;
    }
    if (deleted > 0) {
        invalidateAllCaches();
        logAudit("prune_age", {{"files_deleted", std::to_string(deleted)},
                               {"retention_days", std::to_string(config.retentionDays)}});
    }
}

void MetricsStorage::pruneUploadQueue() {
    const MonitorConfig config = configCopy();
    struct QueueFile {
        Path path;
        uint64_t size = 0;
        Date created;
    };
    // Waiting and refused files alike, oldest name first (the name holds the time); the pending
    // file counts towards the size but stays, being at most about kRollBytes.
    std::vector<QueueFile> queue;
    const auto pending = files::status(uploadDirectory_ / kPendingFilename);
    uint64_t totalBytes = pending ? pending->size : 0;
    for (const Path& folder : {uploadDirectory_, rejectedDirectory()}) {
        const auto entries = files::listDirectory(folder);
        if (!entries) continue;
        for (const Path& entry : *entries) {
            if (!entry.filename().string().starts_with("uploading-")) continue;
            if (const auto status = files::status(entry)) {
                queue.push_back({entry, status->size, status->created});
                totalBytes += status->size;
            }
        }
    }
    std::sort(queue.begin(), queue.end(), [](const QueueFile& a, const QueueFile& b) {
        return a.path.filename() < b.path.filename();
    });
    const auto limitBytes = static_cast<uint64_t>(config.maxStorageMB) * 1024 * 1024;
    const auto cutoff = calendarDaysBefore(clock_.now(), config.retentionDays);
    for (const QueueFile& file : queue) {
        const bool tooOld = cutoff && file.created < *cutoff;
        if (!tooOld && totalBytes <= limitBytes) continue;
        int64_t records = 0;
        {
            std::lock_guard lock(fileHandleLock_);
            QueueLedgers& ledgers = queueLedgers();
            records = takeLines(
                file.path.parent_path() == uploadDirectory_ ? ledgers.waiting : ledgers.rejected,
                file.path, file.path);
        }
        // Counted as gone even if the removal fails, so the loop ends; the next check retries.
        (void)files::remove(file.path);
        totalBytes -= file.size;
        const std::string reason = tooOld ? "exceeded_retention_days" : "exceeded_max_storage_mb";
        Logger::warning(fmt::format("Upload queue beyond its limits: dropped {} with {} unsent "
                                    "records ({})",
                                    file.path.filename().string(), records, reason),
                        Logger::Category::storage);
        logAudit("prune_upload_queue", {{"file", file.path.filename().string()},
                                        {"records_dropped", std::to_string(records)},
                                        {"reason", reason}});
    }
}

void MetricsStorage::clearAll() {
    {
        std::lock_guard lock(fileHandleLock_);
        cachedFileHandle_.reset();
    }
    const auto listed = metricsFiles();
    if (!listed) return;
    for (const Path& file : *listed)
        (void)files::remove(file);
    {
        std::lock_guard lock(fileHandleLock_);
        currentMetricsFile_.reset();
    }
    invalidateAllCaches();
    clearUploadQueue();
    logAudit("clear_all", {{"files_deleted", std::to_string(listed->size())}});
}

}  // namespace ostrel
