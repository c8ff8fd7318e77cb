#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "records/alert_event.h"
#include "records/system_metrics.h"

namespace ostrel {

// Each process name's busiest sighting during one CPU excursion, so that an alert names what
// was busy while the load built up and not only what is busy at the moment it fires.
class PeakProcessTable {
  public:
    // Keeps a row per name, replaced only by a strictly busier sighting (absent CPU counts as
    // 0); the row holds that sighting's pid and memory.
    void update(const std::optional<std::vector<ProcessMetricInfo>>& processes);
    // The busiest `limit` rows, busiest first; ties keep the order of first sighting. Absent
    // when the table is empty.
    std::optional<std::vector<AlertProcessInfo>> peaks(std::size_t limit) const;
    void clear() { rows_.clear(); }

  private:
    // In order of first sighting, which makes ties deterministic.
    std::vector<AlertProcessInfo> rows_;
};

// The first `limit` of an already ranked list, as alert rows. Absent for an absent or empty list.
std::optional<std::vector<AlertProcessInfo>> extractTopProcesses(
    const std::optional<std::vector<ProcessMetricInfo>>& processes, std::size_t limit);

}  // namespace ostrel
