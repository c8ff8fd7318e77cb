#pragma once

#include <cstdint>
#include <string>

namespace ostrel {

// One row of the popup's process search; in memory only. Identified by `name`.
struct ProcessSearchResult {
    std::string name;
    double cpuPercent = 0;
    double memoryMB = 0;
    int64_t instanceCount = 0;

    const std::string& id() const { return name; }
    bool operator==(const ProcessSearchResult&) const = default;
};

}  // namespace ostrel
