#include "alerts/peak_process_table.h"

#include <algorithm>

namespace ostrel {
namespace {

AlertProcessInfo alertRow(const ProcessMetricInfo& process) {
    return {.pid = process.pid,
            .name = process.name,
            .cpuPercent = process.cpuPercent,
            .memoryMB = process.memoryMB};
}

double cpuOf(const AlertProcessInfo& row) {
    return row.cpuPercent.value_or(0);
}

}  // namespace

void PeakProcessTable::update(const std::optional<std::vector<ProcessMetricInfo>>& processes) {
    if (!processes) return;
    for (const auto& process : *processes) {
        auto row = std::find_if(rows_.begin(), rows_.end(),
                                [&](const AlertProcessInfo& r) { return r.name == process.name; });
        if (row == rows_.end()) {
            rows_.push_back(alertRow(process));
        } else if (process.cpuPercent.value_or(0) > cpuOf(*row)) {
            *row = alertRow(process);
        }
    }
}

std::optional<std::vector<AlertProcessInfo>> PeakProcessTable::peaks(std::size_t limit) const {
    std::vector<AlertProcessInfo> sorted = rows_;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return cpuOf(a) > cpuOf(b); });
    if (sorted.size() > limit) sorted.resize(limit);
    if (sorted.empty()) return std::nullopt;
    return sorted;
}

std::optional<std::vector<AlertProcessInfo>> extractTopProcesses(
    const std::optional<std::vector<ProcessMetricInfo>>& processes, std::size_t limit) {
    if (!processes || processes->empty()) return std::nullopt;
    std::vector<AlertProcessInfo> rows;
    for (std::size_t i = 0; i < processes->size() && i < limit; ++i) {
        rows.push_back(alertRow((*processes)[i]));
    }
    return rows;
}

}  // namespace ostrel
