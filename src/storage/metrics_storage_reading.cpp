// Reading the metric files back: listing, day selection, the sample loader, the event
// loaders and the health summary. Reads take no lock: a line being written at that moment is
// at worst read short and dropped.
#include <algorithm>
#include <functional>
#include <set>

#include "platform/file_system.h"
#include "platform/parallel_for.h"
#include "platform/prefault.h"
#include "records/formatters.h"
#include "storage/metric_lines.h"
#include "storage/metrics_storage.h"

namespace ostrel {
namespace {

// One record stands for this many bytes in the estimate: no file is read for it.
constexpr double kBytesPerRecordEstimate = 1100.0;
constexpr size_t kTimestampSlice = 4096;
// A last line is looked for this far back; a sample is a few KB.
constexpr size_t kLastLineLimit = 1 << 20;

// Room for the whole file at the first block's density of samples, backed at once: growing
// the vector would move every sample and touch twice the memory.
void reserveForFile(std::vector<SystemMetrics>& samples, const files::LineBlockReader& reader,
                    size_t firstBlockBytes) {
    const size_t expected = samples.size() * reader.sizeAtOpen() / firstBlockBytes;
    samples.reserve(expected * 9 / 8 + 8);
    prefaultForWriting(samples.data(), expected * sizeof(SystemMetrics));
}

}  // namespace

std::optional<std::vector<MetricsStorage::Path>> MetricsStorage::metricsFiles() const {
    auto entries = files::listDirectory(metricsDirectory_);
    if (!entries) return std::nullopt;
    std::vector<Path> found;
    for (auto& entry : *entries) {
        if (metric_lines::isJsonl(entry)) found.push_back(std::move(entry));
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
        metric_lines::appendSamples(*block, samples);
        if (first) reserveForFile(samples, reader, block->size());
        first = false;
    }
    if (reader.failed()) return std::nullopt;
    return samples;
}

metric_lines::MetricRecords MetricsStorage::loadRecordsFromFile(const Path& file) {
    files::LineBlockReader reader(file);
    metric_lines::MetricRecords records;
    bool first = true;
    while (const auto block = reader.next()) {
        metric_lines::appendRecords(*block, records);
        if (first) reserveForFile(records.samples, reader, block->size());
        first = false;
    }
    if (reader.failed()) return {};
    records.alertEvents = newestFirst(std::move(records.alertEvents));
    return records;
}

std::vector<SystemMetrics> MetricsStorage::loadFilesInParallel(const std::vector<Path>& files) {
    // One or two files are not worth a thread. Each index touches only its own slot.
    const auto forEachFile = [&](const std::function<void(size_t)>& body) {
        if (files.size() > 2) return parallelFor(files.size(), body);
        for (size_t i = 0; i < files.size(); ++i)
            body(i);
    };
    // An unreadable file leaves its slot empty.
    std::vector<std::vector<SystemMetrics>> slots(files.size());
    forEachFile([&](size_t i) {
        if (auto loaded = loadMetricsFromFile(files[i])) slots[i] = std::move(*loaded);
    });
    std::vector<size_t> offsets(slots.size() + 1, 0);
    size_t filled = 0;
    for (size_t i = 0; i < slots.size(); ++i) {
        offsets[i + 1] = offsets[i] + slots[i].size();
        filled += slots[i].empty() ? 0 : 1;
    }
    if (filled == 1) {
        return std::move(*std::find_if(slots.begin(), slots.end(),
                                       [](const auto& slot) { return !slot.empty(); }));
    }
    // Joined the same way: each file's samples move to their own range, and the emptied
    // arrays are freed on the same threads.
    const size_t total = offsets.back();
    std::vector<SystemMetrics> joined;
    joined.reserve(total);
    prefaultForWriting(joined.data(), total * sizeof(SystemMetrics));
    joined.resize(total);
    forEachFile([&](size_t i) {
        std::move(slots[i].begin(), slots[i].end(),
                  joined.begin() + static_cast<ptrdiff_t>(offsets[i]));
        slots[i] = std::vector<SystemMetrics>();
    });
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

// Later first; a stable sort keeps events of the same second in file order.
std::vector<AlertEvent> MetricsStorage::newestFirst(std::vector<AlertEvent> events) {
    std::stable_sort(events.begin(), events.end(), [](const AlertEvent& a, const AlertEvent& b) {
        return a.timestamp > b.timestamp;
    });
    return events;
}

std::vector<AlertEvent> MetricsStorage::loadAlertEvents(std::string_view day) const {
    return newestFirst(loadEvents<AlertEvent>(day, metric_lines::decodeAlertEvents));
}

std::vector<AlertEvent> MetricsStorage::loadAllAlertEvents() const {
    return newestFirst(loadEvents<AlertEvent>(std::nullopt, metric_lines::decodeAlertEvents));
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
}

std::shared_ptr<const StorageHealth> MetricsStorage::healthSnapshot() {
    {
        std::lock_guard lock(cacheLock_);
        if (cachedHealth_ &&
            std::chrono::duration<double>(clock_.monotonic() - cachedHealth_->madeAt).count() <
                kHealthCacheValiditySeconds) {
            return cachedHealth_->health;
        }
    }
    // The slow part runs outside the cache lock: two callers may both compute, the last wins.
    StorageHealth health;
    health.storageDirectory = metricsDirectory_.string();
    const auto listed = metricsFiles();
    if (!listed) return std::make_shared<const StorageHealth>(std::move(health));

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

    auto made = std::make_shared<const StorageHealth>(std::move(health));
    std::lock_guard lock(cacheLock_);
    cachedHealth_ = CachedHealth{made, clock_.monotonic()};
    return made;
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
