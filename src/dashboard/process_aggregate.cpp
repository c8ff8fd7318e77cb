#include "dashboard/process_aggregate.h"

namespace ostrel {

double ProcessAggregate::presence() const {
    if (totalSamples < 1) return 0;
    return static_cast<double>(eventCount) / static_cast<double>(totalSamples) * 100;
}

std::string_view ProcessAggregate::impact() const {
    if (totalSamples < 1) return "Spike";
    const double share = presence();
    if (share >= 75) return "Sustained";
    if (share >= 25) return "Recurring";
    return "Spike";
}

}  // namespace ostrel
