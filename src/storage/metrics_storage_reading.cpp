// Reading the metric files back: listing, day selection, the sample loader, the event
// loaders and the health summary. Reads take no lock: a line being written at that moment is
// at worst read short and dropped.
#include <algorithm>
#include <set>

#include "platform/parallel_for.h"
#include "platform/prefault.h"
#include "records/constants.h"
#include "records/formatters.h"
#include "storage/file_system.h"
#include "storage/metric_lines.h"
#include "storage/metrics_storage.h"

namespace ostrel {
namespace {

constexpr double kBytesPerMB = 1024.0 * 1024.0;
// One record stands for this many bytes in the estimate: no file is read for it.
constexpr double kBytesPerRecordEstimate = 1100.0;
constexpr size_t kTimestampSlice = 4096;
// A last line is looked for this far back; a sample is a few KB.
constexpr size_t kLastLineLimit = 1 << 20;

}  // namespace

std::optional<std::vector<MetricsStorage::Path>> MetricsStorage::metricsFiles() const {
    auto entries = files::listDirectory(metricsDirectory_);
    if (!entries) return std::nullopt;
    const std::string extension = "." + std::string(Constants::Storage::fileExtension);
    std::vector<Path> found;
    for (auto& entry : *entries) {
        if (entry.extension() == extension) found.push_back(std::move(entry));
    }
    // Names carry the stamp, so this is oldest first. Compared without the extension, so a
    // daily name sorts before the hours of its day ("-" sorts before ".").
    std::sort(found.begin(), found.end(), [](const Path& a, const Path& b) {
        const auto stemA = a.parent_path() / a.stem(), stemB = b.parent_path() / b.stem();
        return stemA != stemB ? stemA.native() < stemB.native() : a.native() < b.native();
    });
    return found;
}

std::vector<std::string> MetricsStorage::availableDays() const {
    const auto listed = metricsFiles();
    if (!listed) return {};
    std::set<std::string> days;
    for (const Path& file : *listed)
        days.insert(metric_lines::dayOfFile(file.filename().native()));
    return {days.rbegin(), days.rend()};
}

std::vector<MetricsStorage::Path> MetricsStorage::filterFilesForDay(const std::vector<Path>& files,
                                                                    std::string_view day) {
    std::vector<Path> kept;
    for (const Path& file : files) {
        if (metric_lines::fileBelongsToDay(file.filename().native(), day)) kept.push_back(file);
    }
    return kept;
}

std::optional<std::vector<SystemMetrics>> MetricsStorage::loadMetricsFromFile(const Path& file) {
    files::LineBlockReader reader(file);
    if (!reader.isOpen()) return std::nullopt;
    std::vector<SystemMetrics> samples;
    bool first = true;
    while (const auto block = reader.next()) {
        if (first) {
            // Room for the whole file at the first block's line length: growing the vector
            // would move every sample and touch twice the memory.
            const auto lines = std::count(block->begin(), block->end(), '\n');
            if (lines > 0) {
                const size_t expected = reader.sizeAtOpen() / (block->size() / lines);
                samples.reserve(expected * 9 / 8 + 8);
                prefaultForWriting(samples.data(), expected * sizeof(SystemMetrics));
            }
            first = false;
        }
        metric_lines::appendSamples(*block, samples);
    }
    if (reader.failed()) return std::nullopt;
    return samples;
}

std::vector<SystemMetrics> MetricsStorage::loadFilesInParallel(const std::vector<Path>& files) {
    std::vector<std::optional<std::vector<SystemMetrics>>> slots(files.size());
    if (files.size() <= 2) {
        // Not worth a thread.
        for (size_t i = 0; i < files.size(); ++i)
            slots[i] = loadMetricsFromFile(files[i]);
    } else {
        // Each index writes only its own slot.
        parallelFor(files.size(), [&](size_t i) { slots[i] = loadMetricsFromFile(files[i]); });
    }
    size_t total = 0, filled = 0;
    for (const auto& slot : slots) {
        if (slot && !slot->empty()) {
            total += slot->size();
            ++filled;
        }
    }
    if (filled == 1) {
        for (auto& slot : slots) {
            if (slot && !slot->empty()) return std::move(*slot);
        }
    }
    std::vector<SystemMetrics> joined;
    joined.reserve(total);
    prefaultForWriting(joined.data(), total * sizeof(SystemMetrics));
    for (auto& slot : slots) {
        if (!slot) continue;
        std::move(slot->begin(), slot->end(), std::back_inserter(joined));
    }
    return joined;
}

template <class Event, class Decode>
std::vector<Event> MetricsStorage::loadEvents(std::optional<std::string_view> day,
                                              Decode decode) const {
    auto listed = metricsFiles();
    if (!listed) return {};
    if (day) *listed = filterFilesForDay(*listed, *day);
    std::vector<Event> events;
    for (const Path& file : *listed) {
        files::LineBlockReader reader(file);
        std::vector<Event> found;
        while (const auto block = reader.next()) {
            auto decoded = decode(*block);
            std::move(decoded.begin(), decoded.end(), std::back_inserter(found));
        }
        if (reader.failed()) continue;  // an unreadable file gives nothing
        std::move(found.begin(), found.end(), std::back_inserter(events));
    }
    return events;
}

namespace {

// Later first; a stable sort keeps events of the same second in file order.
void newestFirst(std::vector<AlertEvent>& events) {
    std::stable_sort(events.begin(), events.end(), [](const AlertEvent& a, const AlertEvent& b) {
        return a.timestamp > b.timestamp;
    });
}

}  // namespace

std::vector<AlertEvent> MetricsStorage::loadAlertEvents(std::string_view day) const {
    auto events = loadEvents<AlertEvent>(day, metric_lines::decodeAlertEvents);
    newestFirst(events);
    return events;
}

std::vector<AlertEvent> MetricsStorage::loadAllAlertEvents() const {
    auto events = loadEvents<AlertEvent>(std::nullopt, metric_lines::decodeAlertEvents);
    newestFirst(events);
    return events;
}

std::vector<WatchedProcessEvent> MetricsStorage::loadWatchedProcessEvents(
    std::string_view day) const {
    return loadEvents<WatchedProcessEvent>(day, metric_lines::decodeWatchedProcessEvents);
}

std::vector<WatchedProcessEvent> MetricsStorage::loadAllWatchedProcessEvents() const {
    return loadEvents<WatchedProcessEvent>(std::nullopt, metric_lines::decodeWatchedProcessEvents);
}

void MetricsStorage::invalidateCache() {}

void MetricsStorage::invalidateAllCaches() {
    std::lock_guard lock(cacheLock_);
    cachedHealth_.reset();
    healthCacheTimestamp_.reset();
}

StorageHealth MetricsStorage::getHealth() {
    {
        std::lock_guard lock(cacheLock_);
        if (cachedHealth_ && healthCacheTimestamp_ &&
            std::chrono::duration<double>(clock_.monotonic() - *healthCacheTimestamp_).count() <
                kHealthCacheValiditySeconds) {
            return *cachedHealth_;
        }
    }
    // The slow part runs outside the cache lock: two callers may both compute, the last wins.
    StorageHealth health;
    health.storageDirectory = metricsDirectory_.string();
    const auto listed = metricsFiles();
    if (!listed) return health;

    health.totalFilesCount = static_cast<int64_t>(listed->size());
    uint64_t totalBytes = 0;
    for (const Path& file : *listed) {
        if (const auto status = files::status(file)) totalBytes += status->size;
    }
    health.pendingSizeMB = static_cast<double>(totalBytes) / kBytesPerMB;
    health.pendingRecords =
        static_cast<int64_t>(static_cast<double>(totalBytes) / kBytesPerRecordEstimate);
    if (!listed->empty()) {
        health.oldestRecordTimestamp = getFirstTimestamp(listed->front());
        health.newestRecordTimestamp = getLastTimestamp(listed->back());
    }
    if (const auto current = currentFileCopy()) {
        if (const auto status = files::status(*current)) {
            health.lastWriteTimestamp = Formatters::iso8601(status->modified);
        }
    }

    std::lock_guard lock(cacheLock_);
    cachedHealth_ = health;
    healthCacheTimestamp_ = clock_.monotonic();
    return health;
}

std::optional<std::string> MetricsStorage::getFirstTimestamp(const Path& file) {
    const auto head = files::readHead(file, kTimestampSlice);
    if (!head) return std::nullopt;
    return metric_lines::timestampIn(metric_lines::firstLine(*head));
}

std::optional<std::string> MetricsStorage::getLastTimestamp(const Path& file) {
    const auto line = files::readLastLine(file, kTimestampSlice, kLastLineLimit);
    if (!line) return std::nullopt;
    return metric_lines::timestampIn(*line);
}

int64_t MetricsStorage::countLines(const Path& file) {
    return files::countLines(file);
}

}  // namespace ostrel
