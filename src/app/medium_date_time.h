#pragma once

#include <string>

#include "platform/clock.h"

namespace ostrel {

// A date for people to read, in the user's zone and locale: abbreviated month, day, year and
// the locale's time with seconds ("Nov 22, 2026, 3:15:30 PM" in an English locale).
std::string mediumDateTime(Date date);

}  // namespace ostrel
