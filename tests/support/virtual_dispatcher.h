#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/dispatcher.h"

namespace ostrel::testing {

// A clock that moves only when told to.
class VirtualClock final : public Clock {
  public:
    explicit VirtualClock(Date start = defaultStart()) : now_(start) {}

    Date now() const override { return now_; }
    Duration monotonic() const override { return monotonic_; }
    void advance(Duration step) {
        now_ += std::chrono::duration_cast<Date::duration>(step);
        monotonic_ += step;
    }
    // Sets the wall clock alone, as a user or NTP would; monotonic time does not jump.
    void setWallClock(Date date) { now_ = date; }

    // 2026-11-22 10:00:00 UTC: a fixed, ordinary day.
    static Date defaultStart() { return Date(std::chrono::seconds(1795341600)); }

  private:
    Date now_;
    Duration monotonic_{std::chrono::hours(1)};
};

// Runs every queue, timer and detached task on the test's thread, on virtual time: tasks run
// in the order they were posted, timers in the order of their deadlines (ties by creation).
// Nothing runs until the test says so.
class VirtualDispatcher final : public Dispatcher {
  public:
    VirtualDispatcher();
    ~VirtualDispatcher() override;

    SerialQueue& mainQueue() override;
    std::shared_ptr<SerialQueue> makeSerialQueue(std::string label) override;
    std::unique_ptr<Timer> makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                     Task handler) override;
    void detach(Task task) override;
    const Clock& clock() const override { return clock_; }

    VirtualClock& virtualClock() { return clock_; }

    // Runs the oldest posted task, if any; returns whether one ran.
    bool runOne();
    // Runs posted tasks, and the tasks they post, until none is left.
    void runUntilIdle();
    // Moves time forward by `step`, firing each timer due on the way at its own deadline
    // and running all tasks after each firing.
    void advance(Duration step);

    size_t pendingTasks() const { return tasks_.size(); }
    size_t activeTimers() const;
    // Labels of the queues that tasks were posted to, in posting order (for checking that work
    // lands on the queue it should).
    const std::vector<std::string>& postedLabels() const { return postedLabels_; }

  private:
    class Queue;
    class VirtualTimer;
    struct TimerEntry {
        std::shared_ptr<bool> live;
        SerialQueue* queue;
        Task handler;
        std::optional<Duration> period;
    };

    void post(const std::string& label, Task task);

    VirtualClock clock_;
    std::unique_ptr<Queue> main_;
    std::unique_ptr<Queue> detached_;
    std::deque<Task> tasks_;
    std::vector<std::string> postedLabels_;
    // Keyed by (monotonic deadline, creation number) so equal deadlines keep creation order.
    std::map<std::pair<Duration, uint64_t>, TimerEntry> timers_;
    uint64_t timerSequence_ = 0;
};

}  // namespace ostrel::testing
