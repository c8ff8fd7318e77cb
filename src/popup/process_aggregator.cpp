#include "popup/process_aggregator.h"

#include <algorithm>

#include "collectors/process_name_utils.h"
#include "collectors/process_text.h"
#include "records/formatters.h"

namespace ostrel {
namespace {

struct Group {
    std::vector<std::string> names;
    double cpu = 0;
    double memory = 0;
    std::vector<std::pair<int64_t, std::optional<std::string>>> members;
    std::optional<int64_t> parentPid;
};

std::optional<double> positiveRounded(double sum) {
    if (!(sum > 0)) return std::nullopt;
    return roundedTo(sum, 1);
}

}  // namespace

ProcessAggregator::ProcessAggregator(std::unique_ptr<ProcessNameSource> names)
    : names_(std::move(names)) {}

std::vector<AggregatedProcess> ProcessAggregator::aggregate(
    const std::vector<ProcessMetricInfo>& processes, ProcessValueType by,
    const std::optional<std::string>& preferUser) {
    ProcessesByPid byPid;
    for (const ProcessMetricInfo& process : processes)
        byPid[process.pid] = &process;  // a repeated pid: the later entry wins

    // Groups in order of first appearance, so that equal values keep a stable order.
    std::vector<int64_t> order;
    std::unordered_map<int64_t, Group> groups;
    for (const ProcessMetricInfo& process : processes) {
        std::unordered_set<int64_t> visited;
        GroupKey key = findGroupKey(process, byPid, visited);
        const auto [slot, added] = groups.try_emplace(key.key);
        if (added) order.push_back(key.key);
        Group& group = slot->second;
        group.names.push_back(std::move(key.name));
        group.cpu += process.cpuPercent.value_or(0);
        group.memory += process.memoryMB.value_or(0);
        group.members.emplace_back(process.pid, process.user);
        group.parentPid = key.parentPid;
    }

    std::vector<AggregatedProcess> result;
    result.reserve(order.size());
    for (const int64_t key : order) {
        Group& group = groups[key];
        if (preferUser) {
            std::ranges::stable_sort(group.members, [&](const auto& a, const auto& b) {
                const bool aPreferred = a.second == preferUser;
                const bool bPreferred = b.second == preferUser;
                if (aPreferred != bPreferred) return aPreferred;
                return a.first < b.first;
            });
        }
        std::optional<std::string> name;
        if (key < 0 && group.parentPid) name = getParentProcessName(*group.parentPid);
        AggregatedProcess row{
            .id = ++lastId_,
            .baseName = name ? std::move(*name) : mostCommonName(group.names),
            .processCount = int64_t(group.members.size()),
            .totalCPU = positiveRounded(group.cpu),
            .totalMemory = positiveRounded(group.memory),
        };
        for (const auto& member : group.members)
            row.pids.push_back(member.first);
        result.push_back(std::move(row));
    }

    const auto value = [by](const AggregatedProcess& row) {
        return (by == ProcessValueType::cpu ? row.totalCPU : row.totalMemory).value_or(0);
    };
    std::ranges::stable_sort(result,
                             [&](const auto& a, const auto& b) { return value(a) > value(b); });
    return result;
}

ProcessAggregator::GroupKey ProcessAggregator::findGroupKey(const ProcessMetricInfo& process,
                                                            const ProcessesByPid& byPid,
                                                            std::unordered_set<int64_t>& visited) {
    if (!visited.insert(process.pid).second) return {process.pid, process.name, std::nullopt};
    // A parent of 0 or 1 is the kernel or the first process: this process is a root.
    if (!process.ppid || *process.ppid < 2) return {process.pid, process.name, std::nullopt};
    const auto parent = byPid.find(*process.ppid);
    if (parent != byPid.end()) return findGroupKey(*parent->second, byPid, visited);
    // Negative keys name parents outside the list and never meet a listed pid.
    return {-*process.ppid, ProcessNameUtils::extractBaseName(process.name), process.ppid};
}

std::optional<std::string> ProcessAggregator::getParentProcessName(int64_t pid) {
    {
        std::lock_guard lock(cacheLock_);
        if (const auto cached = parentNameCache_.find(pid); cached != parentNameCache_.end())
            return cached->second;
    }
    // Read outside the lock: two lookups of one pid may race, and the later store wins.
    const std::optional<std::string> read = names_->processName(pid);
    if (!read || !isValidUtf8(*read)) return std::nullopt;
    const std::string_view text = trimmed(*read, " \t\r\n");
    if (text.empty()) return std::nullopt;
    std::string name = extractAppName(std::string(text));
    std::lock_guard lock(cacheLock_);
    if (parentNameCache_.size() >= kParentNameCacheLimit) parentNameCache_.clear();
    parentNameCache_[pid] = name;
    return name;
}

size_t ProcessAggregator::cachedNameCount() const {
    std::lock_guard lock(cacheLock_);
    return parentNameCache_.size();
}

std::string ProcessAggregator::extractAppName(const std::string& text) {
    if (text.find(".app") != std::string::npos) {
        for (const std::string_view component : splitDroppingEmpty(text, '/')) {
            if (component.ends_with(".app") && component.size() > 4)
                return std::string(component.substr(0, component.size() - 4));
        }
    }
    return ProcessNameUtils::extractBaseName(text);
}

std::string ProcessAggregator::mostCommonName(const std::vector<std::string>& names) {
    if (names.empty()) return "Unknown";
    std::vector<std::pair<std::string, int>> counts;
    for (const std::string& name : names) {
        const auto known = std::ranges::find(counts, name, &std::pair<std::string, int>::first);
        if (known == counts.end()) {
            counts.emplace_back(name, 1);
        } else {
            ++known->second;
        }
    }
    return std::ranges::min_element(counts,
                                    [](const auto& a, const auto& b) {
                                        if (a.second != b.second) return a.second > b.second;
                                        return a.first.size() < b.first.size();
                                    })
        ->first;
}

}  // namespace ostrel
