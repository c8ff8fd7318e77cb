#pragma once

namespace ostrel {

// Loads the machine's time zone again where it may have changed since the last call (always at
// the first), so that the next local time follows a change of zone; cheap when nothing changed.
void reloadTimeZoneIfChanged();

}  // namespace ostrel
