#include "alerts/alert_state_machine.h"

namespace ostrel {

bool AlertStateMachine::noteAbove(Date now) {
    belowThresholdSince_.reset();
    if (exceededSince_) return false;
    exceededSince_ = now;
    return true;
}

bool AlertStateMachine::fireIfDue(Date now, double sustainSeconds, double cooldownSeconds) {
    if (!exceededSince_ || secondsBetween(*exceededSince_, now) < sustainSeconds) return false;
    if (lastAlertTime_ && secondsBetween(*lastAlertTime_, now) < cooldownSeconds) return false;
    lastAlertTime_ = now;
    return true;
}

bool AlertStateMachine::noteQuiet(Date now, double recoverySeconds) {
    if (!exceededSince_) return false;
    if (!belowThresholdSince_) belowThresholdSince_ = now;
    if (secondsBetween(*belowThresholdSince_, now) < recoverySeconds) return false;
    exceededSince_.reset();
    belowThresholdSince_.reset();
    return true;
}

}  // namespace ostrel
