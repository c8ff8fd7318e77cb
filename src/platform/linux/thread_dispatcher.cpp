#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>

#include "platform/dispatcher.h"

namespace ostrel {
namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

// Tasks in posting order, run by whoever calls runUntil* (a worker thread or the main loop).
class TaskList {
  public:
    void push(Task task) {
        {
            std::lock_guard lock(mutex_);
            tasks_.push_back(std::move(task));
        }
        ready_.notify_one();
    }

    // Runs tasks until `stop` is set; a task runs without the lock held.
    void runUntilStopped() {
        std::unique_lock lock(mutex_);
        while (true) {
            ready_.wait(lock, [&] { return stop_ || !tasks_.empty(); });
            if (stop_) return;
            Task task = std::move(tasks_.front());
            tasks_.pop_front();
            lock.unlock();
            task();
            task = nullptr;  // captured state is released off the lock, on this thread
            lock.lock();
        }
    }

    void stop() {
        {
            std::lock_guard lock(mutex_);
            stop_ = true;
        }
        ready_.notify_all();
    }

    void resume() {
        std::lock_guard lock(mutex_);
        stop_ = false;
    }

  private:
    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<Task> tasks_;
    bool stop_ = false;
};

class WorkerQueue final : public SerialQueue {
  public:
    explicit WorkerQueue(std::string label)
        : label_(std::move(label)), thread_([this] { tasks_.runUntilStopped(); }) {}
    ~WorkerQueue() override {
        tasks_.stop();
        thread_.join();
    }
    void async(Task task) override { tasks_.push(std::move(task)); }
    const std::string& label() const override { return label_; }

  private:
    std::string label_;
    TaskList tasks_;
    std::thread thread_;
};

class LoopQueue final : public SerialQueue {
  public:
    void async(Task task) override { tasks_.push(std::move(task)); }
    const std::string& label() const override { return label_; }
    void run() {
        tasks_.runUntilStopped();
        tasks_.resume();  // a later run serves the queue again
    }
    void quit() { tasks_.stop(); }

  private:
    std::string label_ = "main";
    TaskList tasks_;
};

// Shared between a timer handle and the timer thread. Cancelling clears `live` under the timer
// thread's lock, so no firing is posted after cancel() returns, and a firing already posted
// checks `live` again before it runs.
struct TimerState {
    SerialQueue* queue;
    Task handler;
    std::optional<Duration> period;
    Duration leeway;
    std::atomic<bool> live{true};
};

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

    void schedule(SteadyTime deadline, std::shared_ptr<TimerState> timer) {
        {
            std::lock_guard lock(mutex_);
            pending_.emplace(deadline, std::move(timer));
        }
        changed_.notify_all();
    }

  private:
    void run() {
        std::unique_lock lock(mutex_);
        while (!stop_) {
            if (pending_.empty()) {
                changed_.wait(lock);
                continue;
            }
            const auto now = std::chrono::steady_clock::now();
            auto next = pending_.begin();
            // A timer may fire early by up to its leeway, so that timers due close together
            // share one wake-up.
            if (next->first - next->second->leeway > now) {
                changed_.wait_until(lock, next->first);
                continue;
            }
            auto [deadline, timer] = *next;
            pending_.erase(next);
            if (!timer->live) continue;
            if (timer->period) {
                // Next deadline from the previous one, so a late firing does not shift the period.
                auto following = deadline + *timer->period;
                if (following <= now) following = now + *timer->period;
                pending_.emplace(following, timer);
            }
            timer->queue->async([timer] {
                if (timer->live) timer->handler();
            });
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::multimap<SteadyTime, std::shared_ptr<TimerState>> pending_;
    bool stop_ = false;
    std::thread thread_;
};

class TimerHandle final : public Timer {
  public:
    TimerHandle(TimerThread& thread, std::shared_ptr<TimerState> state)
        : thread_(thread), state_(std::move(state)) {}
    ~TimerHandle() override { cancel(); }
    void cancel() override { thread_.cancel(*state_); }

  private:
    TimerThread& thread_;
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

    std::unique_ptr<Timer> makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                     Task handler) override {
        auto state = std::make_shared<TimerState>();
        state->queue = &queue;
        state->handler = std::move(handler);
        state->period = schedule.period;
        state->leeway = schedule.leeway;
        timers_.schedule(std::chrono::steady_clock::now() + schedule.firstDeadline, state);
        return std::make_unique<TimerHandle>(timers_, std::move(state));
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
    std::unique_ptr<SerialQueue> externalMain_;
    LoopQueue loopMain_;
    TimerThread timers_;
    std::mutex detachedMutex_;
    std::condition_variable detachedDone_;
    int detachedCount_ = 0;
};

}  // namespace

std::unique_ptr<MainLoopDispatcher> makeThreadDispatcher(std::unique_ptr<SerialQueue> mainQueue) {
    return std::make_unique<ThreadDispatcher>(std::move(mainQueue));
}

}  // namespace ostrel
