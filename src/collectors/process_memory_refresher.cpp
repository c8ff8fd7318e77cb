#include "collectors/process_memory_refresher.h"

#include <algorithm>
#include <numeric>

namespace ostrel {

std::vector<int32_t> largestByResidentSize(const std::vector<ProcessReading>& readings,
                                           size_t count) {
    std::vector<size_t> order(readings.size());
    std::iota(order.begin(), order.end(), size_t{0});
    count = std::min(count, order.size());
    std::partial_sort(order.begin(), order.begin() + count, order.end(), [&](size_t a, size_t b) {
        const uint64_t sizeA = readings[a].residentBytes, sizeB = readings[b].residentBytes;
        return sizeA != sizeB ? sizeA > sizeB : a < b;
    });
    std::vector<int32_t> pids;
    pids.reserve(count);
    for (size_t i = 0; i < count; ++i)
        pids.push_back(readings[order[i]].pid);
    return pids;
}

ProcessMemoryRefresher::ProcessMemoryRefresher(ProcessSources sources, Dispatcher& dispatcher,
                                               SerialQueue& queue)
    : sources_(std::move(sources)), dispatcher_(dispatcher), queue_(queue) {}

void ProcessMemoryRefresher::start() {
    queue_.async([weak = weak_from_this()] {
        if (auto self = weak.lock()) self->restartTimer();
    });
}

void ProcessMemoryRefresher::setInterval(int seconds) {
    queue_.async([weak = weak_from_this(), seconds] {
        auto self = weak.lock();
        if (!self) return;
        self->interval_ = std::max(seconds, 1);
        self->restartTimer();
    });
}

void ProcessMemoryRefresher::stop() {
    std::unique_ptr<Timer> timer;
    {
        std::lock_guard guard(timerLock_);
        stopped_ = true;
        timer = std::move(timer_);
    }
    if (timer) timer->cancel();
}

std::unordered_map<int32_t, double> ProcessMemoryRefresher::figures() {
    std::lock_guard guard(figuresLock_);
    return figures_;
}

void ProcessMemoryRefresher::setCandidates(std::vector<int32_t> pids) {
    std::lock_guard guard(candidatesLock_);
    candidates_ = std::move(pids);
}

void ProcessMemoryRefresher::restartTimer() {
    std::unique_ptr<Timer> previous;
    {
        std::lock_guard guard(timerLock_);
        if (stopped_) return;
        previous = std::move(timer_);
    }
    if (previous) previous->cancel();
    auto timer = dispatcher_.makeTimer(queue_,
                                       TimerSchedule{.firstDeadline = Duration::zero(),
                                                     .period = std::chrono::duration_cast<Duration>(
                                                         std::chrono::duration<double>(interval_)),
                                                     .leeway = std::chrono::milliseconds(100)},
                                       [weak = weak_from_this()] {
                                           if (auto self = weak.lock()) self->refresh();
                                       });
    std::lock_guard guard(timerLock_);
    if (stopped_) {
        timer->cancel();
        return;
    }
    timer_ = std::move(timer);
}

void ProcessMemoryRefresher::refresh() {
    {
        std::lock_guard guard(refreshingLock_);
        if (refreshing_) return;
        refreshing_ = true;
    }
    std::vector<int32_t> pids;
    {
        std::lock_guard guard(candidatesLock_);
        pids = candidates_;
    }
    // No sample has listed the processes yet: the refresher lists them itself.
    if (pids.empty() && sources_.processes) {
        if (const auto table = sources_.processes->listProcesses()) {
            pids = largestByResidentSize(table->processes, kProcessCount);
        }
    }
    auto refined = sources_.memory->refinedMemoryMB(pids);
    health_.note(refined);
    {
        // A failed read empties the figures: resident sizes hold until the next good one.
        std::lock_guard guard(figuresLock_);
        figures_ = refined ? std::move(*refined) : std::unordered_map<int32_t, double>{};
    }
    std::lock_guard guard(refreshingLock_);
    refreshing_ = false;
}

}  // namespace ostrel
