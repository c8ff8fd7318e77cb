#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/clock.h"

// The popup's own formats; sizes, rates and shares are records/value_format's.
namespace ostrel::PopupFormat {

// "23h"; from 24 hours on "1d 1h".
std::string formatUptime(double hours);

// "PID: 7", or "PIDs: 1, 2, 3, 4, 5..." with at most 5 listed; empty for no pids.
std::string pidList(const std::vector<int64_t>& pids);

// "14:05:09" in the user's zone.
std::string localTimeOfDay(Date date);

}  // namespace ostrel::PopupFormat
