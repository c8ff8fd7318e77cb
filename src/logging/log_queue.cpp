#include "logging/log_queue.h"

#include <pthread.h>

#include <future>

namespace ostrel {

LogQueue::LogQueue(std::string label) : label_(std::move(label)) {}

LogQueue::~LogQueue() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    if (worker_.joinable()) worker_.join();
}

void LogQueue::async(Task task) {
    {
        std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
        if (!worker_.joinable()) worker_ = std::thread([this] { run(); });
    }
    wake_.notify_one();
}

void LogQueue::sync(Task task) {
    bool onQueue;
    {
        std::lock_guard lock(mutex_);
        onQueue = std::this_thread::get_id() == worker_.get_id();
    }
    if (onQueue) {
        task();
        return;
    }
    std::promise<void> done;
    async([&task, &done] {
        task();
        done.set_value();
    });
    done.get_future().wait();
}

void LogQueue::run() {
    // Thread names are limited to 15 characters; the label is too long to serve.
    pthread_setname_np(pthread_self(), "ostrel-logger");
    std::unique_lock lock(mutex_);
    std::deque<Task> batch;
    for (;;) {
        wake_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
        if (tasks_.empty()) return;
        // Everything waiting is taken at once, so callers rarely meet the worker at the lock.
        batch.swap(tasks_);
        lock.unlock();
        for (Task& task : batch)
            task();
        batch.clear();
        lock.lock();
    }
}

}  // namespace ostrel
