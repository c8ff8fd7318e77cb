#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <tl/expected.hpp>
#include <utility>
#include <vector>

#include "platform/app_paths.h"
#include "platform/clock.h"
#include "records/alert_event.h"
#include "records/monitor_config.h"
#include "records/system_metrics.h"
#include "records/watched_process_event.h"
#include "storage/append_file.h"
#include "storage/metric_lines.h"
#include "storage/storage_error.h"
#include "storage/storage_health.h"
#include "storage/upload_queue_ledger.h"

namespace ostrel {

// Key-value pairs of an audit entry, written in the order given.
using AuditDetails = std::vector<std::pair<std::string, std::string>>;

// The local store: the metric files (one JSON line per sample, alert event or watched-process
// event, all kinds in one file in the order written), their rotation and pruning, the upload
// queue, and reading them back. Writers on two threads, readers and an upload may meet: writes
// to files go under one small lock, reads take none.
//
// On disk, under `baseDirectory`: metrics/metrics-<stamp>.jsonl, and upload/pending.jsonl
// with upload/uploading-<seconds>.jsonl and the files the collector refused for good in
// upload/rejected/. The queue and the refused files are held to the same size and age limits
// as the metric files.
class MetricsStorage {
  public:
    using Path = std::filesystem::path;

    explicit MetricsStorage(MonitorConfig config, Path baseDirectory = paths::applicationSupport(),
                            const Clock& clock = systemClock(),
                            Path logsDirectory = paths::logFile().parent_path());
    ~MetricsStorage();
    MetricsStorage(const MetricsStorage&) = delete;
    MetricsStorage& operator=(const MetricsStorage&) = delete;

    // --- writing ---------------------------------------------------------------------------
    void updateConfig(MonitorConfig config);
    // Appends the sample to the current file and, with upload on, to the queue. Does nothing,
    // successfully, while storage is off. Every tenth saved sample runs the pruning check.
    tl::expected<void, StorageError> save(const SystemMetrics& metrics);
    tl::expected<void, StorageError> saveAlertEvent(const AlertEvent& event);
    tl::expected<void, StorageError> saveWatchedProcessEvent(const WatchedProcessMetrics& watched,
                                                             const std::string& hostname);
    // "[action] key=value, key=value" at info under storage; never fails.
    void logAudit(std::string_view action, const AuditDetails& details = {}) const;
    // Lets the kept handle go; the next write reopens the same file.
    void close();

    // --- pruning ---------------------------------------------------------------------------
    // Removes every metric file and the upload queue. Never fails.
    void clearAll();

    // --- upload queue ----------------------------------------------------------------------
    // The size past which the pending file joins the queue without waiting for a cycle: one
    // queue file is one request, and collectors commonly refuse requests much larger.
    static constexpr uint64_t kRollBytes = 1024 * 1024;

    // Renames a non-empty pending file to uploading-<seconds>.jsonl and returns every queue
    // file to send, earlier leftovers first.
    std::vector<Path> swapPendingFileForUpload();
    // Records waiting in the queue, and records in refused files; both kept as files come and
    // go, so a call costs no reading.
    int64_t pendingUploadCount();
    int64_t rejectedUploadCount();
    void deleteUploadQueueFile(const Path& file);
    // Moves a file the collector refused for good out of the queue into upload/rejected/.
    std::error_code rejectUploadQueueFile(const Path& file);
    // Removes the queue and the refused files.
    void clearUploadQueue();

    // --- reading ---------------------------------------------------------------------------
    // Days with files, newest first ("2026-11-15").
    std::vector<std::string> availableDays() const;
    // The .jsonl files of the metrics folder, oldest first (by name, a daily file ahead of
    // the hours of its day); absent when the folder cannot be read.
    std::optional<std::vector<Path>> metricsFiles() const;
    static std::vector<Path> filterFilesForDay(const std::vector<Path>& files,
                                               std::string_view day);
    // Samples of all files, in file order and line order; files are read in parallel.
    static std::vector<SystemMetrics> loadFilesInParallel(const std::vector<Path>& files);
    static std::optional<std::vector<SystemMetrics>> loadMetricsFromFile(const Path& file);
    // Every record of one file in one pass, each kind in line order; nothing for a file that
    // cannot be read. The dashboard reads a day this way, a file per thread.
    static metric_lines::MetricRecords loadRecordsFromFile(const Path& file);
    // Alert events newest first; watched-process events in file order.
    static std::vector<AlertEvent> newestFirst(std::vector<AlertEvent> events);
    std::vector<AlertEvent> loadAlertEvents(std::string_view day) const;
    std::vector<AlertEvent> loadAllAlertEvents() const;
    std::vector<WatchedProcessEvent> loadWatchedProcessEvents(std::string_view day) const;
    std::vector<WatchedProcessEvent> loadAllWatchedProcessEvents() const;

    // There is no cache of samples: kept for callers that announce a change of the store.
    void invalidateCache();
    void invalidateAllCaches();
    // Cheap figures from the folder's metadata and two slices of two files, cached 30 s.
    StorageHealth getHealth() { return *healthSnapshot(); }
    // The same, shared: one reading stands until the store makes the next (every 30 seconds),
    // so a caller can tell an unchanged one by its address.
    std::shared_ptr<const StorageHealth> healthSnapshot();
    static std::optional<std::string> getFirstTimestamp(const Path& file);
    static std::optional<std::string> getLastTimestamp(const Path& file);
    static int64_t countLines(const Path& file);

  private:
    static constexpr int kPruneCheckInterval = 10;
    static constexpr double kBytesPerMB = 1024.0 * 1024.0;
    static constexpr double kHealthCacheValiditySeconds = 30.0;
    static constexpr std::string_view kPendingFilename = "pending.jsonl";
    static constexpr std::string_view kRejectedFolder = "rejected";

    struct QueueLedgers {
        UploadQueueLedger waiting;  // pending.jsonl and uploading-<seconds>.jsonl
        UploadQueueLedger rejected;
    };

    // Makes the folder with its parents unless something stands at the path already.
    static tl::expected<void, StorageError> ensureDirectory(const Path& folder);
    tl::expected<void, StorageError> ensureDirectoriesExist() const;
    // Encodes the record to one line and appends it to the current file, then, with upload
    // on, to the queue.
    template <class Record>
    tl::expected<void, StorageError> writeRecord(const Record& record);
    const Path& currentMetricsFileURL();  // caller holds fileHandleLock_
    tl::expected<void, StorageError> appendToCurrentFile(std::string_view line);
    tl::expected<void, StorageError> copyToUploadQueue(std::string_view line);
    Path rejectedDirectory() const;
    // The ledgers, counted from the files at the first call; caller holds fileHandleLock_.
    QueueLedgers& queueLedgers();
    // The lines and size of a file, read from it.
    static UploadQueueLedger::Entry measure(const Path& file);
    // Takes the file out of `ledger`; a file it does not know is measured at `now`, the
    // file's present path.
    static UploadQueueLedger::Entry take(UploadQueueLedger& ledger, const Path& file,
                                         const Path& now);
    // The oldest file of the queue or of the refused ones, by name; never the pending file.
    // Caller holds fileHandleLock_.
    std::optional<Path> oldestQueueFile();
    // Renames the pending file to a fresh uploading name, given back in `target`; caller
    // holds fileHandleLock_.
    std::error_code rollPendingFile(Path& target);

    MonitorConfig configCopy() const;
    // One setting, without a copy of the others.
    template <class Field>
    Field setting(Field MonitorConfig::*field) const {
        std::lock_guard lock(fileHandleLock_);
        return config_.*field;
    }
    std::optional<Path> currentFileCopy() const;
    void pruneIfNeeded();
    void pruneOldestFiles(double targetMB);
    // `cutoff`: this time of day `retentionDays` calendar days before `now`; older files go.
    void pruneByAge(Date now, Date cutoff, int64_t retentionDays);
    // Drops the oldest queue and refused files beyond the size and age limits.
    void pruneUploadQueue(std::optional<Date> cutoff, int64_t maxStorageMB);

    template <class Event, class Decode>
    std::vector<Event> loadEvents(std::optional<std::string_view> day, Decode decode) const;

    const Path metricsDirectory_;
    const Path uploadDirectory_;
    const Path logsDirectory_;
    const Clock& clock_;

    // Guards the fields below it: held for the write of a line and for short copies, never
    // across encoding, pruning or the health cache.
    mutable std::mutex fileHandleLock_;
    MonitorConfig config_;
    std::optional<Path> currentMetricsFile_;
    std::string currentStamp_;  // the rotation stamp that currentMetricsFile_ was named from
    // When and how currentStamp_ was last worked out: the minute, the zone's load, the policy.
    Date stampMinute_{};
    uint64_t stampZone_ = 0;
    bool stampHourly_ = false;
    std::optional<AppendFile> cachedFileHandle_;
    int saveCount_ = 0;
    std::optional<QueueLedgers> queueLedgers_;
    // What the last look by age found: the folder's modification time then, and the birth of
    // the oldest file it kept. While the folder is unchanged and that file young enough, the
    // next look needs no listing. Used from the saving queue only.
    struct AgeLook {
        Date folderModified;
        std::optional<Date> oldestKept;
    };
    std::optional<AgeLook> lastAgeLook_;

    // Guards the health cache only; never taken while fileHandleLock_ is held.
    std::mutex cacheLock_;
    struct CachedHealth {
        std::shared_ptr<const StorageHealth> health;
        Duration madeAt;  // monotonic
    };
    std::optional<CachedHealth> cachedHealth_;
};

}  // namespace ostrel
