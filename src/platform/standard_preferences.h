#pragma once

#include <memory>

#include "platform/preferences_store.h"

namespace ostrel {

// The preferences store of this process, in the domain com.ostrel.agent: created at the first
// call from the platform's standard locations, then shared by every caller.
std::shared_ptr<PreferencesStore> openStandardPreferences();

}  // namespace ostrel
