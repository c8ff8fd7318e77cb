#pragma once

#include <optional>

#include "platform/clock.h"

namespace ostrel {

// One threshold's alert timing: a sustain time going in, a cooldown between alerts and a
// recovery time going out, so that a single spike raises nothing and a single quiet sample
// clears nothing. It is idle, rising (past the threshold) or falling (back under it, not yet
// recovered). Not thread-safe: its owner serialises the calls.
class AlertStateMachine {
  public:
    // A sample past the threshold. True when an excursion begins with it.
    bool noteAbove(Date now);
    // After noteAbove: true when the excursion has lasted `sustainSeconds` and the last alert
    // is at least `cooldownSeconds` old; the alert then counts as fired at `now`. The
    // excursion goes on, so a steady excursion fires again once each cooldown has passed.
    bool fireIfDue(Date now, double sustainSeconds, double cooldownSeconds);
    // A sample at or under the threshold. True when it ends the excursion, which happens once
    // the quiet spell has lasted `recoverySeconds`. The cooldown outlives the excursion.
    bool noteQuiet(Date now, double recoverySeconds);

  private:
    std::optional<Date> lastAlertTime_;
    std::optional<Date> exceededSince_;
    std::optional<Date> belowThresholdSince_;
};

}  // namespace ostrel
