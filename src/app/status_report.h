#pragma once

#include <functional>
#include <string>

#include "platform/clock.h"
#include "platform/preferences_store.h"

namespace ostrel {

using DateDisplay = std::function<std::string(Date)>;

// The text `ostrel --status` prints for the status dictionary of the running application, one
// line end after each line. Missing entries or entries of another type take defaults; a date
// that does not read leaves its line out.
std::string statusReport(const PreferenceDictionary& status, const DateDisplay& showDate);

}  // namespace ostrel
