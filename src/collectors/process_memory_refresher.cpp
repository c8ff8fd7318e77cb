#include "collectors/process_memory_refresher.h"

#include <algorithm>

namespace ostrel {

namespace {

constexpr Duration kSlack = std::chrono::milliseconds(100);

Duration secondsOf(double seconds) {
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(seconds));
}

// The processes a candidate list names, sizes and order aside.
std::vector<std::pair<int32_t, std::optional<Duration>>> processesOf(
    const std::vector<MemoryCandidate>& candidates) {
    std::vector<std::pair<int32_t, std::optional<Duration>>> processes;
    processes.reserve(candidates.size());
    for (const MemoryCandidate& candidate : candidates)
        processes.emplace_back(candidate.pid, candidate.startTime);
    std::sort(processes.begin(), processes.end());
    return processes;
}

}  // namespace

std::vector<MemoryCandidate> largestByResidentSize(const std::vector<ProcessReading>& readings,
                                                   size_t count) {
    std::vector<size_t> order;
    order.reserve(readings.size());
    for (size_t i = 0; i < readings.size(); ++i) {
        if (readings[i].residentBytes > 0) order.push_back(i);
    }
    count = std::min(count, order.size());
    std::partial_sort(order.begin(), order.begin() + count, order.end(), [&](size_t a, size_t b) {
        const uint64_t sizeA = readings[a].residentBytes, sizeB = readings[b].residentBytes;
        return sizeA != sizeB ? sizeA > sizeB : a < b;
    });
    std::vector<MemoryCandidate> largest;
    largest.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        const ProcessReading& reading = readings[order[i]];
        largest.push_back({reading.pid, reading.startTime, reading.residentBytes});
    }
    return largest;
}

ProcessMemoryRefresher::ProcessMemoryRefresher(ProcessSources sources, Dispatcher& dispatcher,
                                               SerialQueue& queue)
    : sources_(std::move(sources)),
      dispatcher_(dispatcher),
      queue_(queue),
      interval_(secondsOf(kDefaultInterval)) {}

void ProcessMemoryRefresher::setInterval(int seconds) {
    std::lock_guard guard(candidatesLock_);
    interval_ = secondsOf(std::max(seconds, 1));
}

std::shared_ptr<const ProcessMemoryRefresher::Figures> ProcessMemoryRefresher::figures() {
    std::lock_guard guard(figuresLock_);
    return figures_;
}

void ProcessMemoryRefresher::setCandidates(std::vector<MemoryCandidate> candidates) {
    const Duration now = dispatcher_.clock().monotonic();
    // The same processes with no figure to read again would give the same figures: the queue
    // stays asleep.
    const bool anyRead = sources_.memory->needsRead(candidates);
    auto processes = processesOf(candidates);
    {
        std::lock_guard guard(candidatesLock_);
        candidates_ = std::move(candidates);
        // Samples come at the collection interval, a refinement at most once per interval.
        // The 100 ms of slack keep a timer that fires a little early from skipping a round.
        const bool due = !lastStart_ || now - *lastStart_ >= interval_ - kSlack;
        if (refreshing_ || !due || (!anyRead && processes == refinedProcesses_)) return;
        refreshing_ = true;
        lastStart_ = now;
    }
    queue_.async([weak = weak_from_this()] {
        if (auto self = weak.lock()) self->refresh();
    });
}

void ProcessMemoryRefresher::refresh() {
    std::vector<MemoryCandidate> candidates;
    {
        std::lock_guard guard(candidatesLock_);
        candidates = candidates_;
        refinedProcesses_ = processesOf(candidates);
    }
    auto refined = sources_.memory->refinedMemoryMB(candidates);
    health_.note(refined);
    {
        // A failed read empties the figures: resident sizes hold until the next good one.
        auto kept = std::make_shared<const Figures>(refined ? std::move(*refined) : Figures{});
        std::lock_guard guard(figuresLock_);
        figures_ = std::move(kept);
    }
    std::lock_guard guard(candidatesLock_);
    refreshing_ = false;
}

}  // namespace ostrel
