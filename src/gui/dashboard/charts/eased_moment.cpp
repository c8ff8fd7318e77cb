#include "gui/dashboard/charts/eased_moment.h"

#include "dashboard/chart_point.h"

namespace ostrel {
namespace {

Date dateOf(double seconds) {
    return Date(std::chrono::duration_cast<Date::duration>(std::chrono::duration<double>(seconds)));
}

}  // namespace

EasedMoment::EasedMoment(int milliseconds, std::function<void()> onStep) {
    motion_.setDuration(milliseconds);
    motion_.setEasingCurve(QEasingCurve::InOutQuad);
    QObject::connect(&motion_, &QVariantAnimation::valueChanged,
                     [this, onStep = std::move(onStep)](const QVariant& seconds) {
                         if (!target_) return;
                         shown_ = dateOf(seconds.toDouble());
                         onStep();
                     });
}

void EasedMoment::moveTo(const std::optional<Date>& target) {
    if (target == target_) return;
    target_ = target;
    if (!target || !shown_) {
        motion_.stop();
        shown_ = target;
        return;
    }
    motion_.stop();
    motion_.setStartValue(epochSeconds(*shown_));
    motion_.setEndValue(epochSeconds(*target));
    motion_.start();
}

}  // namespace ostrel
