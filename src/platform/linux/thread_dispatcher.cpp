#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "platform/dispatcher.h"

namespace ostrel {
namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

// Shared between a timer handle and whoever fires it. Cancelling clears `live` under the
// firing side's lock, so no firing starts after cancel() returns unless it was already taken,
// and a taken firing checks `live` again just before it runs.
struct TimerState {
    SerialQueue* queue = nullptr;  // where the timer thread posts a firing
    Task handler;
    std::optional<Duration> period;
    Duration leeway;
    std::atomic<bool> live{true};
};

// Deadlines in order, the earliest first; equal deadlines in the order they were added. A timer
// may fire early by up to its leeway, so that timers due close together share one wake-up. A
// handful of timers at most: a sorted list, whose entries are moved, not allocated, when a
// repeating timer is rescheduled.
class TimerSchedules {
  public:
    void add(SteadyTime deadline, std::shared_ptr<TimerState> timer) {
        const auto after = std::upper_bound(
            pending_.begin(), pending_.end(), deadline,
            [](SteadyTime time, const Entry& entry) { return time < entry.first; });
        pending_.emplace(after, deadline, std::move(timer));
    }

    // The next timer that is due at `now`, rescheduled first when it repeats; none when the
    // earliest live one lies ahead.
    std::shared_ptr<TimerState> takeDue(SteadyTime now) {
        while (!pending_.empty()) {
            Entry& next = pending_.front();
            if (next.first - next.second->leeway > now) return nullptr;
            const SteadyTime deadline = next.first;
            std::shared_ptr<TimerState> timer = std::move(next.second);
            pending_.erase(pending_.begin());
            if (!timer->live) continue;
            if (timer->period) {
                // Next deadline from the previous one, so a late firing does not shift the period.
                auto following = deadline + *timer->period;
                if (following <= now) following = now + *timer->period;
                add(following, timer);
            }
            return timer;
        }
        return nullptr;
    }

    std::optional<SteadyTime> nextDeadline() const {
        if (pending_.empty()) return std::nullopt;
        return pending_.front().first;
    }

  private:
    using Entry = std::pair<SteadyTime, std::shared_ptr<TimerState>>;
    std::vector<Entry> pending_;
};

// The sleep of a queue's thread, which another thread ends: a futex on a count that each wake
// raises. Unlike a condition variable it takes no lock back on waking, so a timed wake-up costs
// the thread its one system call and not a second to hand that lock over. The count is read
// and raised under the lock that guards what the sleeper waits for.
class Wakeup {
  public:
    // Raises the count, under the lock; true when a sleeper is to be woken, after the lock.
    bool raise() {
        count_.fetch_add(1, std::memory_order_relaxed);
        return sleeping_;
    }
    void wakeSleeper() {
        ::syscall(SYS_futex, &count_, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
    }

    // Lets go of `lock` and sleeps until a raise or the deadline; may end early for no reason.
    void sleep(std::unique_lock<std::mutex>& lock, std::optional<SteadyTime> deadline) {
        const uint32_t seen = count_.load(std::memory_order_relaxed);
        sleeping_ = true;
        lock.unlock();
        if (deadline) {
            const auto sinceEpoch = deadline->time_since_epoch();
            const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(sinceEpoch);
            const timespec until{
                .tv_sec = static_cast<time_t>(seconds.count()),
                .tv_nsec = static_cast<long>((sinceEpoch - seconds).count()),
            };
            // The steady clock is CLOCK_MONOTONIC, the clock of a bitset wait's deadline.
            ::syscall(SYS_futex, &count_, FUTEX_WAIT_BITSET_PRIVATE, seen, &until, nullptr,
                      FUTEX_BITSET_MATCH_ANY);
        } else {
            ::syscall(SYS_futex, &count_, FUTEX_WAIT_PRIVATE, seen, nullptr, nullptr, 0);
        }
        lock.lock();
        sleeping_ = false;
    }

  private:
    std::atomic<uint32_t> count_{0};
    bool sleeping_ = false;  // guarded by the caller's lock
};

// Tasks in posting order and the timers that fire on the queue, run by whoever calls
// runUntilStopped (a worker thread or the main loop). The queue's own thread waits for its
// next deadline, so a firing costs one wake-up and no hand-over from a timer thread.
class TaskList {
  public:
    void push(Task task) {
        changeAndWake([&] { tasks_.push_back(std::move(task)); });
    }

    void schedule(SteadyTime deadline, std::shared_ptr<TimerState> timer) {
        changeAndWake([&] { timers_.add(deadline, std::move(timer)); });
    }

    void cancel(TimerState& timer) {
        std::lock_guard lock(mutex_);
        timer.live = false;
    }

    // Runs tasks and due timers until `stop` is set; each runs without the lock held.
    void runUntilStopped() {
        std::unique_lock lock(mutex_);
        while (!stop_) {
            if (!tasks_.empty()) {
                Task task = std::move(tasks_.front());
                tasks_.pop_front();
                lock.unlock();
                task();
                task = nullptr;  // captured state is released off the lock, on this thread
                lock.lock();
            } else if (auto timer = timers_.takeDue(std::chrono::steady_clock::now())) {
                lock.unlock();
                if (timer->live) timer->handler();
                timer = nullptr;
                lock.lock();
            } else {
                ready_.sleep(lock, timers_.nextDeadline());
            }
        }
    }

    void stop() {
        changeAndWake([this] { stop_ = true; });
    }

    void resume() {
        std::lock_guard lock(mutex_);
        stop_ = false;
    }

  private:
    // Makes a change under the lock, and wakes the thread if it sleeps, to look at it.
    template <class Change>
    void changeAndWake(Change change) {
        bool wake = false;
        {
            std::lock_guard lock(mutex_);
            change();
            wake = ready_.raise();
        }
        if (wake) ready_.wakeSleeper();
    }

    std::mutex mutex_;
    Wakeup ready_;
    std::deque<Task> tasks_;
    TimerSchedules timers_;
    bool stop_ = false;
};

// A queue whose tasks and timers this dispatcher runs itself.
class OwnQueue : public SerialQueue {
  public:
    const std::shared_ptr<TaskList>& tasks() const { return tasks_; }
    void async(Task task) override { tasks_->push(std::move(task)); }

  protected:
    explicit OwnQueue(std::shared_ptr<TaskList> tasks = std::make_shared<TaskList>())
        : tasks_(std::move(tasks)) {}
    std::shared_ptr<TaskList> tasks_;
};

class WorkerQueue final : public OwnQueue {
  public:
    explicit WorkerQueue(std::string label)
        : label_(std::move(label)), thread_([this] { tasks_->runUntilStopped(); }) {
        // The label's last part names the thread in ps and /proc (15 characters at most).
        const std::string name = label_.substr(label_.rfind('.') + 1).substr(0, 15);
        pthread_setname_np(thread_.native_handle(), name.c_str());
    }
    ~WorkerQueue() override {
        tasks_->stop();
        thread_.join();
    }
    const std::string& label() const override { return label_; }

  private:
    std::string label_;
    std::thread thread_;
};

class LoopQueue final : public OwnQueue {
  public:
    const std::string& label() const override { return label_; }
    // A queue of its own label whose tasks and timers this loop serves, in posting order.
    std::shared_ptr<SerialQueue> sharing(std::string label) const {
        return std::make_shared<SharingQueue>(tasks_, std::move(label));
    }
    void run() {
        tasks_->runUntilStopped();
        tasks_->resume();  // a later run serves the queue again
    }
    void quit() { tasks_->stop(); }

  private:
    class SharingQueue final : public OwnQueue {
      public:
        SharingQueue(std::shared_ptr<TaskList> tasks, std::string label)
            : OwnQueue(std::move(tasks)), label_(std::move(label)) {}
        const std::string& label() const override { return label_; }

      private:
        std::string label_;
    };

    std::string label_ = "main";
};

// Fires timers on a queue that this dispatcher does not run (a GUI's main queue) by posting
// the firing to it. Started with the first such timer.
class TimerThread {
  public:
    TimerThread() : thread_([this] { run(); }) {}
    ~TimerThread() {
        {
            std::lock_guard lock(mutex_);
            stop_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }

    void cancel(TimerState& timer) {
        std::lock_guard lock(mutex_);
        timer.live = false;
    }

    void schedule(SerialQueue& queue, SteadyTime deadline, std::shared_ptr<TimerState> timer) {
        {
            std::lock_guard lock(mutex_);
            timer->queue = &queue;
            timers_.add(deadline, std::move(timer));
        }
        changed_.notify_all();
    }

  private:
    void run() {
        std::unique_lock lock(mutex_);
        while (!stop_) {
            if (auto timer = timers_.takeDue(std::chrono::steady_clock::now())) {
                timer->queue->async([timer] {
                    if (timer->live) timer->handler();
                });
            } else if (const auto deadline = timers_.nextDeadline()) {
                changed_.wait_until(lock, *deadline);
            } else {
                changed_.wait(lock);
            }
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    TimerSchedules timers_;
    bool stop_ = false;
    std::thread thread_;
};

class TimerHandle final : public Timer {
  public:
    TimerHandle(std::function<void(TimerState&)> cancel, std::shared_ptr<TimerState> state)
        : cancel_(std::move(cancel)), state_(std::move(state)) {}
    ~TimerHandle() override { cancel(); }
    void cancel() override { cancel_(*state_); }

  private:
    std::function<void(TimerState&)> cancel_;
    std::shared_ptr<TimerState> state_;
};

class ThreadDispatcher final : public MainLoopDispatcher {
  public:
    explicit ThreadDispatcher(std::unique_ptr<SerialQueue> mainQueue)
        : externalMain_(std::move(mainQueue)) {}

    ~ThreadDispatcher() override {
        // Detached work may still post to the main queue; wait for it before the queues go.
        std::unique_lock lock(detachedMutex_);
        detachedDone_.wait(lock, [&] { return detachedCount_ == 0; });
    }

    SerialQueue& mainQueue() override {
        return externalMain_ ? *externalMain_ : static_cast<SerialQueue&>(loopMain_);
    }

    std::shared_ptr<SerialQueue> makeSerialQueue(std::string label) override {
        return std::make_shared<WorkerQueue>(std::move(label));
    }

    std::shared_ptr<SerialQueue> makeQueueSharingMainWhenHeadless(std::string label) override {
        if (externalMain_) return makeSerialQueue(std::move(label));
        return loopMain_.sharing(std::move(label));
    }

    std::unique_ptr<Timer> makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                     Task handler) override {
        auto state = std::make_shared<TimerState>();
        state->handler = std::move(handler);
        state->period = schedule.period;
        state->leeway = schedule.leeway;
        const SteadyTime deadline = std::chrono::steady_clock::now() + schedule.firstDeadline;
        if (auto* own = dynamic_cast<OwnQueue*>(&queue)) {
            // The handle may outlive the queue: cancelling a timer of a queue that is gone has
            // nothing left to stop.
            std::weak_ptr<TaskList> tasks = own->tasks();
            own->tasks()->schedule(deadline, state);
            return std::make_unique<TimerHandle>(
                [tasks](TimerState& timer) {
                    if (auto list = tasks.lock()) {
                        list->cancel(timer);
                    } else {
                        timer.live = false;
                    }
                },
                std::move(state));
        }
        TimerThread& thread = foreignTimers();
        thread.schedule(queue, deadline, state);
        return std::make_unique<TimerHandle>([&thread](TimerState& timer) { thread.cancel(timer); },
                                             std::move(state));
    }

    void detach(Task task) override {
        {
            std::lock_guard lock(detachedMutex_);
            ++detachedCount_;
        }
        std::thread([this, task = std::move(task)]() mutable {
            task();
            task = nullptr;
            std::lock_guard lock(detachedMutex_);
            if (--detachedCount_ == 0) detachedDone_.notify_all();
        }).detach();
    }

    const Clock& clock() const override { return systemClock(); }

    void runMainLoop() override { loopMain_.run(); }
    void quitMainLoop() override { loopMain_.quit(); }

  private:
    TimerThread& foreignTimers() {
        std::lock_guard lock(foreignTimersLock_);
        if (!foreignTimers_) foreignTimers_ = std::make_unique<TimerThread>();
        return *foreignTimers_;
    }

    std::unique_ptr<SerialQueue> externalMain_;
    LoopQueue loopMain_;
    std::mutex foreignTimersLock_;
    std::unique_ptr<TimerThread> foreignTimers_;
    std::mutex detachedMutex_;
    std::condition_variable detachedDone_;
    int detachedCount_ = 0;
};

}  // namespace

std::unique_ptr<MainLoopDispatcher> makeThreadDispatcher(std::unique_ptr<SerialQueue> mainQueue) {
    return std::make_unique<ThreadDispatcher>(std::move(mainQueue));
}

}  // namespace ostrel
