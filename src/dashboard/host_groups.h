#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "dashboard/chart_sample.h"
#include "dashboard/dashboard_dates.h"

namespace ostrel {

// The samples of a source by host. A source of one host (or none) is shown whole; with several,
// each host's samples are kept apart, in their order, and the host that sorts first is shown.
struct HostGroups {
    std::vector<std::string> hostnames;              // ascending; empty for fewer than two
    std::map<std::string, ChartSamples> byHostname;  // empty for fewer than two hosts
    ChartSamples shown;
    std::optional<SourceTimeZone> firstZone;  // of the source's first sample
};

HostGroups groupByHostname(std::vector<ChartSample> samples);

}  // namespace ostrel
