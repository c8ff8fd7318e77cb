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
    uploadTimer_ = makeMainQueueTimer(interval, 1s, &PerformanceMonitor::performUpload);
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
    // Cycles never overlap: a timer firing during a long cycle would otherwise list the same
    // files again and send them twice.
    if (!core_->configCopy().uploadEnabled || isUploading.get()) return;
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
                if (auto self = weak.lock()) self->finalizeUpload(result);
            });
        });
}

PerformanceMonitor::UploadResult PerformanceMonitor::uploadFiles(
    const Core& core, const std::vector<std::filesystem::path>& files, SplunkHECClient& client) {
    const Duration started = core.dispatcher.clock().monotonic();
    UploadResult result;
    bool aborted = false;
    for (const std::filesystem::path& file : files) {
        const auto [ok, bad, failure] = uploadSingleFile(file, client);
        if (failure && isPermanentRefusal(*failure)) {
            // Sending it again cannot change the answer; kept aside, it no longer holds back
            // everything queued behind it.
            setAside(core, file, bad, *failure);
            result.rejected += bad;
            continue;
        }
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
                                      {"endpoint", core.configCopy().hecEndpoint},
                                      {"records_rejected", std::to_string(result.rejected)}});
    return result;
}

PerformanceMonitor::FileUpload PerformanceMonitor::uploadSingleFile(
    const std::filesystem::path& file, SplunkHECClient& client) {
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
        return {};
    }
    if (entries.empty()) return {};
    auto sent = client.sendBatch(entries);
    if (sent) return {.sent = *sent};
    const auto count = static_cast<int64_t>(entries.size());
    Logger::error(fmt::format("Failed to upload batch ({} records)", count),
                  failureDescription(sent.error()), network);
    return {.failed = count, .failure = std::move(sent.error())};
}

void PerformanceMonitor::setAside(const Core& core, const std::filesystem::path& file,
                                  int64_t records, const HECFailure& refusal) {
    const std::string name = file.filename().string();
    if (auto error = core.storage->rejectUploadQueueFile(file)) {
        // Still in the queue: offered again next cycle, and set aside then.
        Logger::error(fmt::format("Failed to set aside refused file {}", name), error.message(),
                      network);
        return;
    }
    Logger::error(fmt::format("Collector refused {} ({} records) for good, moved to "
                              "upload/rejected/",
                              name, records),
                  failureDescription(refusal), network);
}

void PerformanceMonitor::finalizeUpload(const UploadResult& result) {
    lastUploadDate.set(dispatcher_.clock().now());
    lastUploadCount.set(result.uploaded);
    totalUploadedCount.set(totalUploadedCount.get() + result.uploaded);
    isUploading.set(false);
    updateStorageStatus();
    if (result.failed >= 1) {
        lastError.set(fmt::format("Failed to upload {} records", result.failed));
    } else if (result.rejected >= 1) {
        lastError.set(
            fmt::format("Collector refused {} records; kept in upload/rejected", result.rejected));
    } else {
        lastError.set(std::nullopt);
    }
    Logger::info(fmt::format("Upload complete: {} records from {} files, {} failed",
                             result.uploaded, result.filesDeleted, result.failed),
                 network);
}

}  // namespace ostrel
