#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/clock.h"

namespace ostrel {

using Task = std::function<void()>;

// A serial queue: tasks run one at a time, in the order they were posted.
class SerialQueue {
  public:
    virtual ~SerialQueue() = default;
    virtual void async(Task task) = 0;
    virtual const std::string& label() const = 0;
};

// A scheduled handler. Cancelling is final; destroying a timer cancels it. A handler already
// running finishes, but no further firing starts after cancel() returns.
class Timer {
  public:
    virtual ~Timer() = default;
    virtual void cancel() = 0;
};

struct TimerSchedule {
    Duration firstDeadline;          // from now
    std::optional<Duration> period;  // absent: fires once
    Duration leeway{0};              // how late a firing may be, to let the system batch wake-ups
};

// Every queue, timer and background task of the program comes from here, and so does "now":
// production runs real threads, tests run everything on virtual time.
class Dispatcher {
  public:
    virtual ~Dispatcher() = default;

    // The queue of published state and of the user interface.
    virtual SerialQueue& mainQueue() = 0;
    virtual std::shared_ptr<SerialQueue> makeSerialQueue(std::string label) = 0;
    // A serial queue for work that must not hold up a user interface and ends on the main
    // queue. Where no user interface serves the main queue (a headless agent) its tasks run on
    // the main loop's thread, so that handing the result over wakes no other thread.
    virtual std::shared_ptr<SerialQueue> makeQueueSharingMainWhenHeadless(std::string label) {
        return makeSerialQueue(std::move(label));
    }
    // The handler fires on `queue`, which must outlive the timer.
    virtual std::unique_ptr<Timer> makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                             Task handler) = 0;
    // Work with no queue of its own (an upload, a file load); it may run in parallel with others.
    virtual void detach(Task task) = 0;
    virtual const Clock& clock() const = 0;
};

}  // namespace ostrel

namespace ostrel {

// The program's dispatcher: a thread per serial queue, which also fires that queue's timers, and
// a main queue that runMainLoop() serves on the thread that calls it, timers included, together
// with the queues that share it. A GUI
// passes a main queue of its own, served by its event loop; runMainLoop is then not used, and a
// timer thread posts the firings of that queue's timers to it.
class MainLoopDispatcher : public Dispatcher {
  public:
    // Runs main-queue tasks until quitMainLoop(); tasks posted after the quit stay queued.
    virtual void runMainLoop() = 0;
    // Safe from any thread, also before runMainLoop() starts.
    virtual void quitMainLoop() = 0;
};

std::unique_ptr<MainLoopDispatcher> makeThreadDispatcher(
    std::unique_ptr<SerialQueue> mainQueue = nullptr);

}  // namespace ostrel
