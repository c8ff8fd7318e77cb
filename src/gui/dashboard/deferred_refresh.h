#pragma once

#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "records/published.h"

namespace ostrel {

// Redraws a view from its model after the published values it watches change. They speak
// before they change, so the redraw runs on the next turn of the event loop, once for any number
// of changes in between. Watching ends with this object.
class DeferredRefresh {
  public:
    // `owner` outlives this object; a redraw still pending when it goes is dropped.
    DeferredRefresh(QObject* owner, std::function<void()> refresh)
        : owner_(owner), refresh_(std::move(refresh)) {}
    DeferredRefresh(const DeferredRefresh&) = delete;
    DeferredRefresh& operator=(const DeferredRefresh&) = delete;

    template <class T>
    void watch(Published<T>& value) {
        subscriptions_.push_back(std::make_shared<typename Published<T>::Subscription>(
            value.subscribe([this](const T&) { schedule(); })));
    }

    void schedule() {
        if (pending_) return;
        pending_ = true;
        QTimer::singleShot(0, owner_, [this] {
            pending_ = false;
            refresh_();
        });
    }

  private:
    QObject* owner_;
    std::function<void()> refresh_;
    bool pending_ = false;
    // Each ends its observation when released.
    std::vector<std::shared_ptr<void>> subscriptions_;
};

}  // namespace ostrel
