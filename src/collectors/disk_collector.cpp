#include "collectors/disk_collector.h"

#include <cmath>

#include "collectors/rate.h"
#include "logging/logger.h"
#include "records/formatters.h"

namespace ostrel {
namespace {

constexpr auto category = Logger::Category::collection;

// Without a transfer counter in the source, one transfer is taken to be 4096 bytes.
constexpr double bytesPerTransfer = 4096;

std::optional<double> gigabytes(const std::optional<uint64_t>& bytes) {
    if (!bytes) return std::nullopt;
    return roundedTo(static_cast<double>(*bytes) / 1e9, 1);
}

std::optional<double> roundedRate(double delta, double divisor, double elapsed) {
    const auto rate = ratePerSecond(delta / divisor, elapsed);
    if (!rate) return std::nullopt;
    return roundedTo(*rate, 1);
}

}  // namespace

DiskCollector::DiskCollector(DiskSource& source, const Clock& clock)
    : source_(source), clock_(clock), cachedIOStats_(clock, cacheValidity) {
    seed();
}

void DiskCollector::seed() {
    const auto counters = readDiskIOStats();
    if (!counters) {
        Logger::debug("Failed to seed disk I/O stats", category);
        return;
    }
    const Duration now = clock_.monotonic();
    std::lock_guard lock(sampleLock_);
    lastIOSample_ = Reading{*counters, now};
}

std::optional<DiskIOCounters> DiskCollector::readDiskIOStats() {
    if (const auto cached = cachedIOStats_.fresh()) return *cached;
    const auto counters = source_.ioCounters();
    // A failed reading is not kept: the next sample asks the devices again.
    if (counters) cachedIOStats_.store(*counters);
    return counters;
}

void DiskCollector::collectDiskSpace(DiskMetrics& metrics) {
    const DiskCapacity capacity = source_.capacity();
    metrics.totalGB = gigabytes(capacity.totalBytes);
    metrics.freeGB = gigabytes(capacity.availableBytes);
    if (!capacity.totalBytes || !capacity.availableBytes) return;
    // As df counts: used is what no block holds free, and the share is of the part a user can
    // fill (used plus available), so blocks held back for the superuser count on neither side.
    const uint64_t free = capacity.freeBytes.value_or(*capacity.availableBytes);
    const uint64_t used = *capacity.totalBytes > free ? *capacity.totalBytes - free : 0;
    const double usable = static_cast<double>(used) + static_cast<double>(*capacity.availableBytes);
    metrics.usedGB = gigabytes(used);
    metrics.percentUsed =
        usable > 0 ? static_cast<int64_t>(std::round(static_cast<double>(used) / usable * 100)) : 0;
}

void DiskCollector::collectDiskIO(DiskMetrics& metrics, bool updateBaseline) {
    const auto counters = readDiskIOStats();
    if (!counters) return;
    const Duration now = clock_.monotonic();

    enum class Outcome { rates, none, readWrapped, writeWrapped } outcome = Outcome::none;
    double elapsed = 0;
    DiskIOCounters delta;
    {
        std::lock_guard lock(sampleLock_);
        if (lastIOSample_) {
            elapsed = elapsedSeconds(lastIOSample_->timestamp, now);
            const DiskIOCounters& base = lastIOSample_->counters;
            if (!(elapsed > 0)) {
                outcome = Outcome::none;
            } else if (base.bytesRead > counters->bytesRead) {
                outcome = Outcome::readWrapped;
            } else if (base.bytesWritten > counters->bytesWritten) {
                outcome = Outcome::writeWrapped;
            } else {
                delta = {counters->bytesRead - base.bytesRead,
                         counters->bytesWritten - base.bytesWritten};
                outcome = Outcome::rates;
            }
        }
        if (updateBaseline) lastIOSample_ = Reading{*counters, now};
    }

    if (outcome == Outcome::readWrapped) {
        Logger::debug("Disk read counter wrapped, skipping sample", category);
    } else if (outcome == Outcome::writeWrapped) {
        Logger::debug("Disk write counter wrapped, skipping sample", category);
    }
    if (outcome != Outcome::rates) return;
    const auto read = static_cast<double>(delta.bytesRead);
    const auto written = static_cast<double>(delta.bytesWritten);
    metrics.readKBPerSec = roundedRate(read, 1024, elapsed);
    metrics.writeKBPerSec = roundedRate(written, 1024, elapsed);
    metrics.transfersPerSec = roundedRate(read + written, bytesPerTransfer, elapsed);
}

}  // namespace ostrel
