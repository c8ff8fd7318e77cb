#include "storage/metrics_storage.h"

#include "config/setting_limits.h"
#include "logging/logger.h"
#include "platform/file_system.h"
#include "platform/time_zone.h"
#include "records/constants.h"
#include "records/formatters.h"
#include "records/record_json.h"
#include "storage/metric_lines.h"

namespace ostrel {

MetricsStorage::MetricsStorage(MonitorConfig config, Path baseDirectory, const Clock& clock,
                               Path logsDirectory)
    : metricsDirectory_(baseDirectory / Constants::Storage::metricsFolder),
      uploadDirectory_(baseDirectory / Constants::Storage::uploadFolder),
      logsDirectory_(std::move(logsDirectory)),
      clock_(clock),
      config_(withinLimits(std::move(config))) {
    // A disk that refuses now refuses again at the first save, which reports it.
    (void)ensureDirectoriesExist();
    // Folders of earlier versions were readable by all; what they hold names processes, users
    // and hosts.
    for (const Path& folder : {baseDirectory, metricsDirectory_, uploadDirectory_, logsDirectory_})
        (void)files::restrictToOwner(folder);
}

MetricsStorage::~MetricsStorage() = default;

void MetricsStorage::updateConfig(MonitorConfig config) {
    // Bounded, so that no retention or size can make pruning delete what it must keep.
    MonitorConfig bounded = withinLimits(std::move(config));
    std::lock_guard lock(fileHandleLock_);
    config_ = std::move(bounded);
}

MonitorConfig MetricsStorage::configCopy() const {
    std::lock_guard lock(fileHandleLock_);
    return config_;
}

std::optional<MetricsStorage::Path> MetricsStorage::currentFileCopy() const {
    std::lock_guard lock(fileHandleLock_);
    return currentMetricsFile_;
}

tl::expected<void, StorageError> MetricsStorage::ensureDirectory(const Path& folder) {
    if (auto error = files::makeDirectories(folder)) {
        return tl::unexpected(StorageError::fileSystem(error, folder));
    }
    return {};
}

tl::expected<void, StorageError> MetricsStorage::ensureDirectoriesExist() const {
    if (auto made = ensureDirectory(metricsDirectory_); !made) return made;
    return ensureDirectory(logsDirectory_);
}

template <class Record>
tl::expected<void, StorageError> MetricsStorage::writeRecord(const Record& record) {
    // One buffer per writing thread, kept: a line costs no allocation.
    thread_local std::string line;
    line.clear();
    if (auto encoded = appendJson(line, record); !encoded) {
        return tl::unexpected(StorageError::encoding(encoded.error().message()));
    }
    line += '\n';
    if (auto appended = appendToCurrentFile(line); !appended) return appended;
    // The line is safe in the metric file; a queue that refuses it costs only its upload.
    if (setting(&MonitorConfig::uploadEnabled)) (void)copyToUploadQueue(line);
    return {};
}

tl::expected<void, StorageError> MetricsStorage::save(const SystemMetrics& metrics) {
    if (!setting(&MonitorConfig::storageEnabled)) return {};
    if (auto written = writeRecord(metrics); !written) {
        return written;
    }
    bool pruneDue = false;
    {
        std::lock_guard lock(fileHandleLock_);
        if (++saveCount_ >= kPruneCheckInterval) {
            saveCount_ = 0;
            pruneDue = true;
        }
    }
    if (pruneDue) pruneIfNeeded();
    return {};
}

tl::expected<void, StorageError> MetricsStorage::saveAlertEvent(const AlertEvent& event) {
    if (!setting(&MonitorConfig::storageEnabled)) return {};
    return writeRecord(event);
}

tl::expected<void, StorageError> MetricsStorage::saveWatchedProcessEvent(
    const WatchedProcessMetrics& watched, const std::string& hostname) {
    if (!setting(&MonitorConfig::storageEnabled)) return {};
    const WatchedProcessEvent event{
        .eventType = kWatchedProcessEventType,
        .timestamp = Formatters::iso8601WithFractionalSeconds(clock_.now()),
        .hostname = hostname,
        .watched = watched,
    };
    return writeRecord(event);
}

const MetricsStorage::Path& MetricsStorage::currentMetricsFileURL() {
    // The zone afresh, so a change of zone shows in the next name.
    const uint64_t zone = reloadTimeZoneIfChanged();
    const Date now = clock_.now();
    const bool hourly = config_.rotationPolicy == "hourly";
    // Local days and hours begin, and zones change their offset, on whole minutes: within the
    // minute of the last name, in the same zone, the name holds.
    const auto minute = std::chrono::floor<std::chrono::minutes>(now);
    if (currentMetricsFile_ && minute == stampMinute_ && zone == stampZone_ &&
        hourly == stampHourly_) {
        return *currentMetricsFile_;
    }
    std::string stamp = hourly ? Formatters::hourlyRotation(now) : Formatters::dailyRotation(now);
    // The same stamp names the same file: the path is built once per file, not per line.
    if (!currentMetricsFile_ || stamp != currentStamp_) {
        currentMetricsFile_ = metricsDirectory_ / metric_lines::metricFileName(stamp);
        currentStamp_ = std::move(stamp);
    }
    stampMinute_ = minute;
    stampZone_ = zone;
    stampHourly_ = hourly;
    return *currentMetricsFile_;
}

tl::expected<void, StorageError> MetricsStorage::appendToCurrentFile(std::string_view line) {
    std::lock_guard lock(fileHandleLock_);
    const Path& url = currentMetricsFileURL();
    // A handle on another file (rotation, or the file deleted or replaced from outside) is
    // let go; the file at the current name is opened, or made, below.
    if (cachedFileHandle_ && !cachedFileHandle_->isFileAt(url)) cachedFileHandle_.reset();
    if (cachedFileHandle_) {
        if (cachedFileHandle_->append(line)) return {};
        // A stale handle costs one retry on a fresh one, not the sample.
        cachedFileHandle_.reset();
    }
    // A handle on the file at its name proves the folders are there; only a file to be opened
    // needs them looked at (and made again where someone removed them).
    if (auto ready = ensureDirectoriesExist(); !ready) return ready;
    auto opened = AppendFile::open(url);
    if (!opened) return tl::unexpected(StorageError::fileSystem(opened.error(), url));
    if (auto written = opened->append(line); !written) {
        return tl::unexpected(StorageError::fileSystem(written.error(), url));
    }
    cachedFileHandle_ = std::move(*opened);
    return {};
}

void MetricsStorage::logAudit(std::string_view action, const AuditDetails& details) const {
    std::string text = "[" + std::string(action) + "]";
    for (size_t i = 0; i < details.size(); ++i) {
        text += i == 0 ? " " : ", ";
        text += details[i].first + "=" + details[i].second;
    }
    Logger::info(text, Logger::Category::storage);
}

void MetricsStorage::close() {
    std::lock_guard lock(fileHandleLock_);
    cachedFileHandle_.reset();
}

}  // namespace ostrel
