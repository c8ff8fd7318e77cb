#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace ostrel {

// A value that views observe. Each assignment and each in-place change tells every observer
// the new value before it is stored, so an observer can still compare it with get(). There is
// no equality check: assigning the same value notifies too. The value itself is written and
// read on the main queue only; subscribing and unsubscribing may happen on any thread.
template <class T>
class Published {
  public:
    using Observer = std::function<void(const T& newValue)>;

  private:
    struct Observers {
        struct Entry {
            Entry(uint64_t entryId, Observer entryObserver)
                : id(entryId), observer(std::move(entryObserver)) {}
            const uint64_t id;
            const Observer observer;
            // Cleared on removal, so that a removal during a notification holds at once.
            std::atomic<bool> active{true};
        };

        uint64_t add(Observer observer) {
            std::lock_guard lock(mutex);
            entries.push_back(std::make_shared<Entry>(++lastId, std::move(observer)));
            return lastId;
        }

        void remove(uint64_t id) {
            std::lock_guard lock(mutex);
            std::erase_if(entries, [&](const auto& entry) {
                if (entry->id != id) return false;
                entry->active = false;
                return true;
            });
        }

        // Observers run outside the lock, so one may subscribe or unsubscribe while being told.
        void notify(const T& newValue) {
            std::vector<std::shared_ptr<Entry>> snapshot;
            {
                std::lock_guard lock(mutex);
                snapshot = entries;
            }
            for (const auto& entry : snapshot) {
                if (entry->active) entry->observer(newValue);
            }
        }

        std::mutex mutex;
        std::vector<std::shared_ptr<Entry>> entries;
        uint64_t lastId = 0;
    };

  public:
    // Ends the observation when destroyed. Outliving the Published it came from is harmless.
    class Subscription {
      public:
        Subscription() = default;
        Subscription(Subscription&&) noexcept = default;
        Subscription& operator=(Subscription&& other) noexcept {
            if (this != &other) {
                cancel();
                observers_ = std::move(other.observers_);
                id_ = other.id_;
            }
            return *this;
        }
        Subscription(const Subscription&) = delete;
        Subscription& operator=(const Subscription&) = delete;
        ~Subscription() { cancel(); }

        void cancel() {
            if (auto observers = observers_.lock()) observers->remove(id_);
            observers_.reset();
        }

      private:
        friend class Published;
        Subscription(std::weak_ptr<Observers> observers, uint64_t id)
            : observers_(std::move(observers)), id_(id) {}

        std::weak_ptr<Observers> observers_;
        uint64_t id_ = 0;
    };

    Published() = default;
    explicit Published(T initial) : value_(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    const T& get() const { return value_; }
    const T* operator->() const { return &value_; }

    void set(T newValue) {
        observers_->notify(newValue);
        value_ = std::move(newValue);
    }

    // Changes a copy and assigns it, so that an in-place change notifies like an assignment.
    template <class Change>
    void modify(Change&& change) {
        T copy = value_;
        std::forward<Change>(change)(copy);
        set(std::move(copy));
    }

    [[nodiscard]] Subscription subscribe(Observer observer) {
        return Subscription(observers_, observers_->add(std::move(observer)));
    }

  private:
    std::shared_ptr<Observers> observers_ = std::make_shared<Observers>();
    T value_{};
};

}  // namespace ostrel
