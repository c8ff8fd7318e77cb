#include "dashboard/host_groups.h"

#include <algorithm>

namespace ostrel {

HostGroups groupByHostname(std::vector<ChartSample> samples) {
    HostGroups groups;
    if (samples.empty()) return groups;
    groups.firstZone = extractTimezone(samples.front().timestamp);
    const bool oneHost = std::all_of(
        samples.begin(), samples.end(),
        [&](const ChartSample& sample) { return sample.hostname == samples.front().hostname; });
    if (oneHost) {
        groups.shown = ChartSamples(std::move(samples));
        return groups;
    }
    std::map<std::string, std::vector<ChartSample>> split;
    for (ChartSample& sample : samples) {
        auto& group = split[sample.hostname];
        group.push_back(std::move(sample));
    }
    samples = {};
    for (auto& [hostname, group] : split) {
        groups.hostnames.push_back(hostname);
        groups.byHostname.emplace(hostname, ChartSamples(std::move(group)));
    }
    groups.shown = groups.byHostname.begin()->second;
    return groups;
}

}  // namespace ostrel
