// Construction and the loads: the local store by day and picked files, with the host rule.
#include "dashboard/dashboard_view_model.h"

#include <algorithm>

#include "config/configuration_manager.h"
#include "dashboard/chart_data_builder.h"
#include "dashboard/external_files.h"
#include "platform/preferences_store.h"
#include "storage/metrics_storage.h"

namespace ostrel {
namespace {

// The samples of one day of the store; none when the folder cannot be listed.
std::vector<ChartSample> loadDay(const MetricsStorage& storage, const std::string& day) {
    const auto listed = storage.metricsFiles();
    if (!listed) return {};
    return chartSamplesOf(
        MetricsStorage::loadFilesInParallel(MetricsStorage::filterFilesForDay(*listed, day)));
}

std::string sourceName(const std::vector<std::filesystem::path>& paths) {
    if (paths.size() != 1) return std::to_string(paths.size()) + " files";
    // A folder given with a trailing slash is still named by its last component.
    const auto& path = paths.front();
    return (path.has_filename() ? path : path.parent_path()).filename().string();
}

}  // namespace

DashboardDependencies DashboardDependencies::forThisMachine(
    Dispatcher& dispatcher, std::shared_ptr<PreferencesStore> preferences) {
    ConfigurationManager settings(preferences);
    settings.load();
    auto storage = std::make_shared<MetricsStorage>(settings.config.get());
    return {&dispatcher, std::move(preferences), std::move(storage)};
}

std::shared_ptr<DashboardViewModel> DashboardViewModel::create(DashboardDependencies dependencies) {
    return std::shared_ptr<DashboardViewModel>(new DashboardViewModel(std::move(dependencies)));
}

DashboardViewModel::DashboardViewModel(DashboardDependencies dependencies)
    : dispatcher_(*dependencies.dispatcher),
      preferences_(std::move(dependencies.preferences)),
      storage_(std::move(dependencies.storage)) {
    normalizeCPU.set(preferences_->boolean(kNormalizeCPUKey));
    storesNormalizeChoice_ = normalizeCPU.subscribe(
        [preferences = preferences_](bool on) { preferences->set(kNormalizeCPUKey, on); });
}

// --- the local store ---------------------------------------------------------------------------

void DashboardViewModel::loadMetrics() {
    externalSourcePath.set(std::nullopt);
    // With samples on screen this is a silent refresh.
    const bool visible = metrics->empty();
    if (visible) {
        fetchPhase.set(FetchPhase::fetching());
        loadProgress.set(0);
        loadPhaseLabel.set("Discovering data...");
    }
    onMain([visible](DashboardViewModel& self) { self.readAvailableDays(visible); });
}

void DashboardViewModel::readAvailableDays(bool visible) {
    if (!storage_) return failLoad(visible, DashboardError{});
    inBackground([storage = storage_] { return storage->availableDays(); },
                 [visible](DashboardViewModel& self, std::vector<std::string> days) {
                     self.availableDays.set(std::move(days));
                     self.readSelectedDay(visible);
                 });
}

void DashboardViewModel::readSelectedDay(bool visible) {
    if (visible) {
        loadProgress.set(0.1);
        loadPhaseLabel.set("Reading metrics from disk...");
    }
    if (!selectedDay_ && !availableDays->empty()) selectedDay_ = availableDays->front();
    // Hosts are told apart where the samples are read, so that no second copy is made.
    inBackground(
        [storage = storage_, day = selectedDay_] {
            return groupByHostname(day ? loadDay(*storage, *day) : std::vector<ChartSample>());
        },
        [visible](DashboardViewModel& self, HostGroups groups) {
            if (visible) {
                self.loadProgress.set(-1);
                self.loadPhaseLabel.set("Building charts...");
            }
            self.readDayEvents(std::move(groups));
        });
}

void DashboardViewModel::readDayEvents(HostGroups groups) {
    // The day's watched-process events, then its alerts; without a day, all of them.
    inBackground(
        [storage = storage_, day = selectedDay_] {
            return day ? storage->loadWatchedProcessEvents(*day)
                       : storage->loadAllWatchedProcessEvents();
        },
        [groups = std::move(groups)](DashboardViewModel& self,
                                     std::vector<WatchedProcessEvent> watched) mutable {
            self.readDayAlerts(std::move(groups), std::move(watched));
        });
}

void DashboardViewModel::readDayAlerts(HostGroups groups,
                                       std::vector<WatchedProcessEvent> watched) {
    inBackground(
        [storage = storage_, day = selectedDay_] {
            return day ? storage->loadAlertEvents(*day) : storage->loadAllAlertEvents();
        },
        [groups = std::move(groups), watched = std::move(watched)](
            DashboardViewModel& self, std::vector<AlertEvent> alerts) mutable {
            self.finishLoad(std::move(groups), std::move(watched), std::move(alerts));
        });
}

void DashboardViewModel::finishLoad(HostGroups groups, std::vector<WatchedProcessEvent> watched,
                                    std::vector<AlertEvent> alerts) {
    if (groups.shown.empty()) {
        fetchPhase.set(FetchPhase::empty());
        metrics.set({});
        allLoadedByHostname_.clear();
        sourceTimezone.set(std::nullopt);
        alertEvents.set({});
        selectedHostname.set(std::nullopt);
        return;
    }
    watched_ = std::move(watched);
    alertEvents.set(std::move(alerts));
    sourceTimezone.set(groups.firstZone);
    applyHostGroups(std::move(groups));
    rebuildCachedDataAsync([weak = weak_from_this()] {
        if (auto self = weak.lock()) self->finishRebuiltLoad(true);
    });
}

void DashboardViewModel::failLoad(bool visible, DashboardError error) {
    loadProgress.set(1);
    loadPhaseLabel.set("");
    if (visible) fetchPhase.set(FetchPhase::failure(std::move(error)));
}

void DashboardViewModel::applyHostGroups(HostGroups groups) {
    allLoadedByHostname_ = std::move(groups.byHostname);
    multipleHostnamesDetected.set(groups.hostnames);
    // The first host, always, even if another was selected before this load.
    selectedHostname.set(groups.hostnames.empty() ? std::nullopt
                                                  : std::optional(groups.hostnames.front()));
    metrics.set(std::move(groups.shown));
}

void DashboardViewModel::finishRebuiltLoad(bool settleProgress) {
    if (settleProgress) {
        loadProgress.set(1);
        loadPhaseLabel.set("");
    }
    fetchPhase.set(FetchPhase::success(metrics.get()));
}

void DashboardViewModel::loadMetricsForDay(const std::optional<std::string>& day) {
    if (!day || !storage_) return;
    // The old charts stay on screen under the indicator.
    isRebuilding.set(true);
    loadProgress.set(-1);
    loadPhaseLabel.set("Loading...");
    sendChange();
    inBackground(
        [storage = storage_, day = *day] {
            // A failed read counts as a day without watched processes.
            return std::pair(loadDay(*storage, day), storage->loadWatchedProcessEvents(day));
        },
        [](DashboardViewModel& self, auto loaded) {
            self.finishDayLoad(std::move(loaded.first), std::move(loaded.second));
        });
}

void DashboardViewModel::finishDayLoad(std::vector<ChartSample> samples,
                                       std::vector<WatchedProcessEvent> watched) {
    watched_ = std::move(watched);
    if (selectedProcess.get()) selectProcess(selectedProcess.get());
    if (samples.empty()) {
        fetchPhase.set(FetchPhase::empty());
        metrics.set({});
        isRebuilding.set(false);
        loadProgress.set(1);
        loadPhaseLabel.set("");
        return;
    }
    // A day of the local store is not split by host, and its alerts stay those of the last
    // full load.
    sourceTimezone.set(extractTimezone(samples.front().timestamp));
    metrics.set(ChartSamples(std::move(samples)));
    rebuildCachedDataAsync([weak = weak_from_this()] {
        if (auto self = weak.lock()) self->finishRebuiltLoad(true);
    });
}

// --- picked files ------------------------------------------------------------------------------

void DashboardViewModel::loadFromExternalPaths(const std::vector<std::filesystem::path>& paths) {
    fetchPhase.set(FetchPhase::fetching());
    externalSourcePath.set(sourceName(paths));
    inBackground(
        [paths] {
            auto samples = loadExternalFiles(externalMetricFiles(paths));
            // By the text of the timestamp, as written: files of several zones sort by text,
            // not by time.
            std::stable_sort(samples.begin(), samples.end(),
                             [](const ChartSample& a, const ChartSample& b) {
                                 return a.timestamp < b.timestamp;
                             });
            return samples;
        },
        [](DashboardViewModel& self, std::vector<ChartSample> samples) {
            self.finishExternalLoad(std::move(samples));
        });
}

void DashboardViewModel::finishExternalLoad(std::vector<ChartSample> samples) {
    if (samples.empty()) {
        // externalSourcePath stays, so the window still offers the way back.
        fetchPhase.set(FetchPhase::empty());
        metrics.set({});
        allLoadedByHostname_.clear();
        sourceTimezone.set(std::nullopt);
        externalSourceHostname.set(std::nullopt);
        multipleHostnamesDetected.set({});
        selectedHostname.set(std::nullopt);
        return;
    }
    // Watched-process and alert events, the day and the zoom stay as they were.
    HostGroups groups = groupByHostname(std::move(samples));
    externalSourceHostname.set(groups.hostnames.empty() ? groups.shown.front().hostname
                                                        : groups.hostnames.front());
    applyHostGroups(std::move(groups));
    sourceTimezone.set(extractTimezone(metrics->front().timestamp));
    rebuildCachedDataAsync([weak = weak_from_this()] {
        if (auto self = weak.lock()) self->finishRebuiltLoad(false);
    });
}

void DashboardViewModel::selectHostname(const std::optional<std::string>& hostname) {
    if (!hostname) return;
    selectedHostname.set(hostname);
    const auto group = allLoadedByHostname_.find(*hostname);
    if (group == allLoadedByHostname_.end() || group->second.empty()) return;
    externalSourceHostname.set(hostname);
    if (!isRebuilding.get()) isRebuilding.set(true);
    // The zone of the first host stays for all hosts of the source.
    onMain([samples = group->second](DashboardViewModel& self) {
        self.metrics.set(samples);
        self.rebuildCachedDataAsync();
    });
}

void DashboardViewModel::clearExternalData() {
    externalSourcePath.set(std::nullopt);
    externalSourceHostname.set(std::nullopt);
    selectedHostname.set(std::nullopt);
    multipleHostnamesDetected.set({});
    allLoadedByHostname_.clear();
    sourceTimezone.set(std::nullopt);
    // The external samples are still on screen, so this is a silent refresh.
    loadMetrics();
}

// --- charts ------------------------------------------------------------------------------------

void DashboardViewModel::rebuildCachedDataAsync(Task then) {
    if (!isRebuilding.get()) isRebuilding.set(true);
    inBackground(
        [samples = metrics.get()] { return buildSourceChartData(samples, maxCachedResolution); },
        [then = std::move(then)](DashboardViewModel& self, CachedChartData data) {
            self.applyCachedData(std::move(data));
            if (then) then();
        });
}

void DashboardViewModel::applyCachedData(CachedChartData data) {
    cached_ = std::move(data);
    cachedTimeRangeString_ = cached_.timeRangeStartDate && cached_.timeRangeEndDate
                                 ? formatTimeRange(*cached_.timeRangeStartDate,
                                                   *cached_.timeRangeEndDate, sourceTimezone.get())
                                 : "No data";
    rebuildZoomFilteredData();
    sendChange();
    isRebuilding.set(false);
}

}  // namespace ostrel
