#pragma once

#include <cstdint>

namespace ostrel {

// Loads the machine's time zone again where it may have changed since the last call (always at
// the first), so that the next local time follows a change of zone; cheap when nothing changed.
// Gives the number of loads so far: local times worked out under the same number still hold.
uint64_t reloadTimeZoneIfChanged();

}  // namespace ostrel
