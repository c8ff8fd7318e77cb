#pragma once

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <string>

#include "platform/clock.h"

namespace ostrel::testing {

// Local midnight of the day `daysAgo` before the one holding `now`, by this machine's calendar.
Date localMidnight(Date now, int daysAgo);

// How one day of history is written.
struct RealisticDay {
    Date midnight;                  // local midnight of the day
    int samples = 1440;             // spread evenly over the day
    std::string hostname;           // empty: the samples' own
    bool withWatchedEvents = true;  // a watched-process event at every sample
};

// Writes `day` the way the store keeps it: hourly files under `storeFolder`/metrics, each sample
// followed by its watched-process event and an alert at the middle of every hour. The same
// lines go to `allLines` too where given, as one picked file. Returns the bytes written.
uint64_t writeRealisticDay(const RealisticDay& day, const std::filesystem::path& storeFolder,
                           std::ostream* allLines = nullptr);

}  // namespace ostrel::testing
