// The upload cycle: take the queue files, send each as one batch, delete what was delivered,
// report. The network work runs detached from the main queue; only the report comes back.
#include <fmt/format.h>

#include "logging/logger.h"
#include "monitor/monitor_core.h"
#include "monitor/monitor_timing.h"
#include "monitor/performance_monitor.h"
#include "platform/file_system.h"
#include "records/record_json.h"
#include "upload/splunk_hec_client.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
constexpr auto network = Logger::Category::network;

// One queue line as a batch entry. A watched-process event is tried first, since it would
// also pass as a sample; an alert line has no decoder of its own and goes as a sample that
// holds only its stamp and host. Undecodable lines are dropped without a word.
void appendEntry(std::string_view line, std::vector<HECBatchEntry>& entries) {
    if (auto event = decodeJson<WatchedProcessEvent>(line)) {
        std::string timestamp = event->timestamp;
        std::string hostname = event->hostname;
        entries.push_back({std::move(*event), std::move(timestamp), std::move(hostname)});
    } else if (auto sample = decodeJson<SystemMetrics>(line)) {
        std::string timestamp = sample->timestamp;
        std::string hostname = sample->hostname;
        entries.push_back({std::move(*sample), std::move(timestamp), std::move(hostname)});
    }
}

}  // namespace

void PerformanceMonitor::startUploadTimer() {
    uploadTimer_.reset();
    // The first upload comes one interval after start, not at start.
    const Duration interval = monitor_timing::minutes(core_->configCopy().uploadIntervalMinutes);
    uploadTimer_ =
        makeTimer(interval, interval, 1s, onMainQueue(&PerformanceMonitor::performUpload));
}

void PerformanceMonitor::uploadNow() {
    if (!core_->configCopy().uploadEnabled) {
        lastError.set("Upload not enabled");
        Logger::warning("Upload skipped: Upload not enabled", network);
        return;
    }
    if (!isUploading.get()) performUpload();
}

void PerformanceMonitor::performUpload() {
    // The timer comes here directly: a cycle still running does not hold the next one back.
    if (!core_->configCopy().uploadEnabled) return;
    MetricsStorage& storage = *core_->storage;
    if (!hecClient_) {
        lastError.set("HEC not configured");
        Logger::warning("Upload failed: HEC not configured", network);
        storage.logAudit("upload_failed", {{"reason", "hec_not_configured"}});
        return;
    }
    std::vector<std::filesystem::path> files = storage.swapPendingFileForUpload();
    Logger::debug(fmt::format("Upload check: found {} files in upload queue", files.size()),
                  network);
    if (files.empty()) {
        Logger::debug("Upload skipped: no files in upload queue", network);
        return;
    }
    isUploading.set(true);
    // The client as it is now: a configure during the cycle does not reach it.
    dispatcher_.detach(
        [core = core_, weak = weak_from_this(), files = std::move(files), client = hecClient_] {
            if (weak.expired()) return;
            const UploadResult result = uploadFiles(*core, files, *client);
            core->dispatcher.mainQueue().async([weak, result] {
                if (auto self = weak.lock()) {
                    self->finalizeUpload(result.uploaded, result.failed, result.filesDeleted);
                }
            });
        });
}

PerformanceMonitor::UploadResult PerformanceMonitor::uploadFiles(
    const Core& core, const std::vector<std::filesystem::path>& files, SplunkHECClient& client) {
    const Duration started = core.dispatcher.clock().monotonic();
    UploadResult result;
    bool aborted = false;
    for (const std::filesystem::path& file : files) {
        const auto [ok, bad] = uploadSingleFile(file, client);
        result.uploaded += ok;
        result.failed += bad;
        if (bad >= 1) {
            // Later files wait too, so that the collector receives the queue in order.
            Logger::warning(fmt::format("Upload failed for {} ({} records) — aborting batch, all "
                                        "files retained",
                                        file.filename().string(), bad),
                            network);
            aborted = true;
            break;
        }
        if (ok >= 1) {
            core.storage->deleteUploadQueueFile(file);
            ++result.filesDeleted;
        }
        // A file with nothing to send stays, and comes up again next cycle.
    }
    const double seconds =
        std::chrono::duration<double>(core.dispatcher.clock().monotonic() - started).count();
    core.storage->logAudit("upload", {{"records_uploaded", std::to_string(result.uploaded)},
                                      {"records_failed", std::to_string(result.failed)},
                                      {"files_deleted", std::to_string(result.filesDeleted)},
                                      {"files_attempted", std::to_string(files.size())},
                                      {"aborted", aborted ? "true" : "false"},
                                      {"duration_seconds", fmt::format("{:.1f}", seconds)},
                                      {"endpoint", core.configCopy().hecEndpoint}});
    return result;
}

std::pair<int64_t, int64_t> PerformanceMonitor::uploadSingleFile(const std::filesystem::path& file,
                                                                 SplunkHECClient& client) {
    std::vector<HECBatchEntry> entries;
    files::LineBlockReader reader(file);
    while (reader.isOpen()) {
        const std::optional<std::string_view> block = reader.next();
        if (!block) break;
        for (size_t start = 0; start < block->size();) {
            const size_t end = std::min(block->find('\n', start), block->size());
            if (end > start) appendEntry(block->substr(start, end - start), entries);
            start = end + 1;
        }
    }
    if (!reader.isOpen() || reader.failed()) {
        Logger::warning("Failed to read file for upload: " + file.filename().string(), network);
        return {0, 0};
    }
    if (entries.empty()) return {0, 0};
    auto sent = client.sendBatch(entries);
    if (sent) return {*sent, 0};
    const auto count = static_cast<int64_t>(entries.size());
    Logger::error(fmt::format("Failed to upload batch ({} records)", count),
                  failureDescription(sent.error()), network);
    return {0, count};
}

void PerformanceMonitor::finalizeUpload(int64_t successfulCount, int64_t failedCount,
                                        int64_t filesUploaded) {
    lastUploadDate.set(dispatcher_.clock().now());
    lastUploadCount.set(successfulCount);
    totalUploadedCount.set(totalUploadedCount.get() + successfulCount);
    isUploading.set(false);
    updateStorageStatus();
    if (failedCount < 1) {
        lastError.set(std::nullopt);
    } else {
        lastError.set(fmt::format("Failed to upload {} records", failedCount));
    }
    Logger::info(fmt::format("Upload complete: {} records from {} files, {} failed",
                             successfulCount, filesUploaded, failedCount),
                 network);
}

}  // namespace ostrel
