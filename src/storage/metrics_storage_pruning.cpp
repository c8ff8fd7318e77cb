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
    // Two settings and one cutoff serve the three checks: a copy of all the settings would
    // cost more than the usual check itself.
    const int64_t maxStorageMB = setting(&MonitorConfig::maxStorageMB);
    const int64_t retentionDays = setting(&MonitorConfig::retentionDays);
    const Date now = clock_.now();
    const auto cutoff = calendarDaysBefore(now, retentionDays);
    const double sizeMB = healthSnapshot()->pendingSizeMB;
    if (sizeMB > static_cast<double>(maxStorageMB)) {
        Logger::info(
            fmt::format("Storage size {:.1f}MB exceeds max {}MB, pruning", sizeMB, maxStorageMB),
            Logger::Category::storage);
        pruneOldestFiles(0.8 * static_cast<double>(maxStorageMB));
    }
    if (cutoff) pruneByAge(now, *cutoff, retentionDays);
    pruneUploadQueue(cutoff, maxStorageMB);
}

void MetricsStorage::pruneOldestFiles(double targetMB) {
    const auto listed = metricsFiles();
    if (!listed) return;
    const auto current = currentFileCopy();
    // Up to 30 s old: a little too much or too little may go.
    double runningMB = healthSnapshot()->pendingSizeMB;
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

void MetricsStorage::pruneByAge(Date now, Date cutoff, int64_t retentionDays) {
    // A file added, removed or renamed changes the folder's time; its oldest file tells when
    // the next one can expire.
    const auto folder = files::status(metricsDirectory_);
    std::optional<AgeLook> last;
    {
        std::lock_guard lock(fileHandleLock_);
        last = std::exchange(lastAgeLook_, std::nullopt);
    }
    if (folder && last && last->folderModified == folder->modified &&
        (!last->oldestKept || *last->oldestKept >= cutoff)) {
        std::lock_guard lock(fileHandleLock_);
        lastAgeLook_ = last;
        return;
    }
    const auto listed = metricsFiles();
    if (!listed) return;
    const auto current = currentFileCopy();
    int64_t deleted = 0;
    std::optional<Date> oldestKept;
    for (const Path& file : *listed) {
        if (file == current) continue;
        const auto status = files::status(file);
        if (!status) continue;
        if (status->created >= cutoff) {
            oldestKept = std::min(oldestKept.value_or(status->created), status->created);
            continue;
        }
        (void)files::remove(file);
        ++deleted;
    }
    // A folder changed within the last second may change again at the same coarse time stamp:
    // it is not trusted to tell.
    if (folder && deleted == 0 && now - folder->modified > std::chrono::seconds(1)) {
        std::lock_guard lock(fileHandleLock_);
        lastAgeLook_ = AgeLook{folder->modified, oldestKept};
    }
    if (deleted > 0) {
        invalidateAllCaches();
        logAudit("prune_age", {{"files_deleted", std::to_string(deleted)},
                               {"retention_days", std::to_string(retentionDays)}});
    }
}

void MetricsStorage::pruneUploadQueue(std::optional<Date> cutoff, int64_t maxStorageMB) {
    const auto limitBytes = static_cast<uint64_t>(maxStorageMB) * 1024 * 1024;
    // Oldest first, from the ledgers: the usual check costs one look at the oldest file, not a
    // listing of the queue. Names hold the time, so once the oldest is young enough and the
    // size fits, nothing else is due.
    for (;;) {
        std::optional<Path> oldest;
        bool overSize = false;
        {
            std::lock_guard lock(fileHandleLock_);
            oldest = oldestQueueFile();
            const QueueLedgers& ledgers = queueLedgers();
            overSize = ledgers.waiting.total().bytes + ledgers.rejected.total().bytes > limitBytes;
        }
        if (!oldest) return;
        const auto status = files::status(*oldest);
        const bool tooOld = cutoff && status && status->created < *cutoff;
        if (status && !tooOld && !overSize) return;
        UploadQueueLedger::Entry dropped;
        {
            std::lock_guard lock(fileHandleLock_);
            QueueLedgers& ledgers = queueLedgers();
            dropped =
                take(oldest->parent_path() == uploadDirectory_ ? ledgers.waiting : ledgers.rejected,
                     *oldest, *oldest);
        }
        // Gone from outside: only the ledger had it.
        if (!status) continue;
        // Out of the ledger even if the removal fails, so the loop ends; a file that stays is
        // counted again at the next start.
        (void)files::remove(*oldest);
        const std::string name = oldest->filename().string();
        const std::string reason = tooOld ? "exceeded_retention_days" : "exceeded_max_storage_mb";
        Logger::warning(fmt::format("Upload queue beyond its limits: dropped {} with {} unsent "
                                    "records ({})",
                                    name, dropped.lines, reason),
                        Logger::Category::storage);
        logAudit("prune_upload_queue", {{"file", name},
                                        {"records_dropped", std::to_string(dropped.lines)},
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
