#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "platform/dispatcher.h"

namespace ostrel {

// The logger's own serial queue on a private thread. The logger cannot borrow the program's
// dispatcher: it is used before any dispatcher exists, and by the dispatcher itself.
class LogQueue final : public SerialQueue {
  public:
    explicit LogQueue(std::string label);
    // Runs what is queued, then ends the thread.
    ~LogQueue() override;
    LogQueue(const LogQueue&) = delete;
    LogQueue& operator=(const LogQueue&) = delete;

    // The thread starts with the first task, so a process that never writes the file never
    // starts it.
    void async(Task task) override;
    // Runs `task` after everything queued before it and waits for it. On the queue's own
    // thread it runs at once, since waiting there would never end.
    void sync(Task task);
    const std::string& label() const override { return label_; }

  private:
    void run();

    const std::string label_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Task> tasks_;
    bool stopping_ = false;
    std::thread worker_;
};

}  // namespace ostrel
