#pragma once

#include <memory>
#include <mutex>

namespace ostrel {

// Keeps one idle object that two threads must not use at once (a socket, a bus connection):
// a caller takes it, uses it outside the lock and gives it back; a caller that finds the slot
// empty meanwhile opens its own. The lock is held only to move the pointer.
template <class T>
class IdleSlot {
  public:
    std::unique_ptr<T> take() {
        std::lock_guard lock(lock_);
        return std::move(idle_);
    }
    // A second object, when the slot is already filled, is closed by the caller's scope.
    void giveBack(std::unique_ptr<T>& object) {
        std::lock_guard lock(lock_);
        if (!idle_) idle_ = std::move(object);
    }

  private:
    std::mutex lock_;
    std::unique_ptr<T> idle_;
};

}  // namespace ostrel
