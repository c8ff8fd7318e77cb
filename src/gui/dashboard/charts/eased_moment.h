#pragma once

#include <QVariantAnimation>
#include <functional>
#include <optional>

#include "platform/clock.h"

namespace ostrel {

// A moment on a chart that glides to each new value, eased in and out, instead of jumping: the
// line under the pointer (0.15 s) and the pin's line (0.1 s). `onStep` asks for a repaint.
class EasedMoment {
  public:
    EasedMoment(int milliseconds, std::function<void()> onStep);

    // A first value, and no value, are shown at once; a change of value glides.
    void moveTo(const std::optional<Date>& target);
    const std::optional<Date>& shown() const { return shown_; }

  private:
    QVariantAnimation motion_;
    std::optional<Date> shown_;
    std::optional<Date> target_;
};

}  // namespace ostrel
