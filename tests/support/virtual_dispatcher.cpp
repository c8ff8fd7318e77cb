#include "support/virtual_dispatcher.h"

namespace ostrel::testing {

class VirtualDispatcher::Queue final : public SerialQueue {
  public:
    Queue(VirtualDispatcher& owner, std::string label) : owner_(owner), label_(std::move(label)) {}
    void async(Task task) override { owner_.post(label_, std::move(task)); }
    const std::string& label() const override { return label_; }

  private:
    VirtualDispatcher& owner_;
    std::string label_;
};

class VirtualDispatcher::VirtualTimer final : public Timer {
  public:
    explicit VirtualTimer(std::shared_ptr<bool> live) : live_(std::move(live)) {}
    ~VirtualTimer() override { cancel(); }
    void cancel() override { *live_ = false; }

  private:
    std::shared_ptr<bool> live_;
};

VirtualDispatcher::VirtualDispatcher()
    : main_(std::make_unique<Queue>(*this, "main")),
      detached_(std::make_unique<Queue>(*this, "detached")) {}

VirtualDispatcher::~VirtualDispatcher() = default;

SerialQueue& VirtualDispatcher::mainQueue() {
    return *main_;
}

std::shared_ptr<SerialQueue> VirtualDispatcher::makeSerialQueue(std::string label) {
    return std::make_shared<Queue>(*this, std::move(label));
}

std::unique_ptr<Timer> VirtualDispatcher::makeTimer(SerialQueue& queue, TimerSchedule schedule,
                                                    Task handler) {
    auto live = std::make_shared<bool>(true);
    const Duration deadline = clock_.monotonic() + schedule.firstDeadline;
    timers_.emplace(std::make_pair(deadline, timerSequence_++),
                    TimerEntry{live, &queue, std::move(handler), schedule.period});
    return std::make_unique<VirtualTimer>(std::move(live));
}

void VirtualDispatcher::detach(Task task) {
    detached_->async(std::move(task));
}

void VirtualDispatcher::post(const std::string& label, Task task) {
    postedLabels_.push_back(label);
    tasks_.push_back(std::move(task));
}

bool VirtualDispatcher::runOne() {
    if (tasks_.empty()) return false;
    Task task = std::move(tasks_.front());
    tasks_.pop_front();
    task();
    return true;
}

void VirtualDispatcher::runUntilIdle() {
    while (runOne()) {
    }
}

void VirtualDispatcher::advance(Duration step) {
    const Duration target = clock_.monotonic() + step;
    runUntilIdle();
    while (true) {
        // Drop cancelled timers as they come up, so a cancelled one never moves the clock.
        while (!timers_.empty() && !*timers_.begin()->second.live)
            timers_.erase(timers_.begin());
        if (timers_.empty() || timers_.begin()->first.first > target) break;

        auto node = timers_.extract(timers_.begin());
        const Duration deadline = node.key().first;
        TimerEntry& entry = node.mapped();
        clock_.advance(deadline - clock_.monotonic());
        if (entry.period) {
            timers_.emplace(std::make_pair(deadline + *entry.period, timerSequence_++), entry);
        }
        entry.queue->async([live = entry.live, handler = entry.handler] {
            if (*live) handler();
        });
        runUntilIdle();
    }
    clock_.advance(target - clock_.monotonic());
    runUntilIdle();
}

size_t VirtualDispatcher::activeTimers() const {
    size_t count = 0;
    for (const auto& [key, entry] : timers_)
        count += *entry.live ? 1 : 0;
    return count;
}

}  // namespace ostrel::testing
