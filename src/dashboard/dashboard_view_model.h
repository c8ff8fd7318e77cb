#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "dashboard/chart_data.h"
#include "dashboard/chart_sample.h"
#include "dashboard/dashboard_dates.h"
#include "dashboard/fetch_phase.h"
#include "dashboard/host_groups.h"
#include "dashboard/process_analysis.h"
#include "platform/dispatcher.h"
#include "records/alert_event.h"
#include "records/published.h"
#include "records/watched_process_event.h"

namespace ostrel {

class MetricsStorage;
class PreferencesStore;

// What the dashboard is built from: this machine's store in the application, a store in a
// temporary folder and a virtual-time dispatcher in tests.
struct DashboardDependencies {
    Dispatcher* dispatcher = nullptr;               // outlives the model
    std::shared_ptr<PreferencesStore> preferences;  // holds the normalisation choice
    std::shared_ptr<MetricsStorage> storage;        // absent: every local load fails

    // A store of its own, independent of the monitor's, with the settings loaded from
    // `preferences` at the standard location.
    static DashboardDependencies forThisMachine(Dispatcher& dispatcher,
                                                std::shared_ptr<PreferencesStore> preferences);
};

// The summary figures a zoom recomputes for its window.
struct ZoomSummary {
    std::optional<double> avgMemoryUsedGB;
    std::optional<double> peakMemoryUsedGB;
    int64_t thermalWarningCount = 0;
    int64_t memoryPressureEventCount = 0;
};

// Everything the dashboard window shows: the history of this machine by day or of picked
// files, its series at chart resolution, the zoom window, the pin and one watched process's
// series. Lives on the main queue: every call and every published change happens there.
// Reading, decoding and building run as detached work that gets its input by value and
// returns to the main queue, holding the model weakly; each load ends by rebuilding the
// charts. Observers of `objectWillChange` hear about the fields that are not published
// themselves (series, summaries, zoom), once per change of them.
class DashboardViewModel : public std::enable_shared_from_this<DashboardViewModel> {
  public:
    static constexpr size_t maxChartPoints = 200;          // a series without zoom
    static constexpr size_t maxCachedResolution = 2000;    // the whole source, kept
    static constexpr size_t maxZoomChartPoints = 500;      // a series built for a zoom
    static constexpr double pinnedThrottleInterval = 0.1;  // seconds between moves on a chart
    static constexpr double minimumZoomSeconds = 30;
    static constexpr const char* kNormalizeCPUKey = "normalizeCPUPercent";

    // Reads the normalisation choice; loads nothing.
    static std::shared_ptr<DashboardViewModel> create(DashboardDependencies dependencies);
    DashboardViewModel(const DashboardViewModel&) = delete;
    DashboardViewModel& operator=(const DashboardViewModel&) = delete;

    // --- published state ---------------------------------------------------------------------
    Published<FetchPhase> fetchPhase;
    Published<ChartSamples> metrics;  // of the current source and host
    Published<bool> isRebuilding{false};
    Published<double> loadProgress{0};  // 0 to 1, negative while no fraction is known
    Published<std::string> loadPhaseLabel;
    Published<bool> normalizeCPU{false};  // each assignment is stored for the next launch
    Published<std::optional<Date>> pinnedDate;
    Published<std::optional<std::string>> pinnedChartID;
    Published<std::vector<AlertEvent>> alertEvents;  // of the day the last full load read
    Published<std::optional<std::string>> selectedProcess;
    Published<std::vector<std::string>> availableDays;  // newest first
    Published<bool> isZoomRebuilding{false};
    Published<std::optional<std::string>> externalSourcePath;  // present: picked files
    Published<std::optional<std::string>> externalSourceHostname;
    Published<std::vector<std::string>> multipleHostnamesDetected;
    Published<std::optional<std::string>> selectedHostname;
    Published<std::optional<SourceTimeZone>> sourceTimezone;  // absent: the viewer's zone
    // Counts the changes of everything below that is not published on its own.
    Published<uint64_t> objectWillChange{0};

    // --- loading -------------------------------------------------------------------------------
    // Reloads the local store's selected (else newest) day. With samples on screen this is a
    // silent refresh: no progress, and a failure leaves the screen as it is.
    void loadMetrics();
    // Loads one day of the local store under the current charts; alerts stay as they were.
    void loadMetricsForDay(const std::optional<std::string>& day);
    // Loads picked files and folders; their watched-process and alert lines play no part.
    void loadFromExternalPaths(const std::vector<std::filesystem::path>& paths);
    void selectHostname(const std::optional<std::string>& hostname);
    // Back to the local store.
    void clearExternalData();
    // Builds the whole source's series from `metrics` in the background, then re-applies the
    // zoom; `then` runs on the main queue once the result is in.
    void rebuildCachedDataAsync(Task then = {});

    // --- zoom, day and pin ---------------------------------------------------------------------
    void setZoom(Date from, Date to);
    void clearZoom();
    bool isZoomActive() const { return zoomStartDate_ && zoomEndDate_; }
    std::optional<Date> zoomStartDate() const { return zoomStartDate_; }
    std::optional<Date> zoomEndDate() const { return zoomEndDate_; }
    // Fills the shown series: in place without a zoom, else from the range's samples in the
    // background, where a newer rebuild cancels an older one.
    void rebuildZoomFilteredData();
    // The points inside the zoom window (all without one), reduced to maxChartPoints.
    ChartSeries filterByZoom(const ChartSeries& series) const;
    const std::optional<std::string>& selectedDay() const { return selectedDay_; }
    void setSelectedDay(const std::optional<std::string>& day);
    // Steps through availableDays: +1 is the day before, -1 the day after.
    void navigateDay(int offset);
    bool canNavigateDay(int offset) const;
    // Pins a moment (or clears the pin with no date) for all charts; moves of one chart's pin
    // are limited to one per pinnedThrottleInterval.
    void setPinnedDate(const std::optional<Date>& date, const std::optional<std::string>& chartID);
    // Monotonic time of the last pin move; absent before the first.
    std::optional<Duration> lastPinnedUpdate() const { return lastPinnedUpdate_; }

    // --- process analysis ----------------------------------------------------------------------
    void selectProcess(const std::optional<std::string>& pattern);
    const std::vector<WatchedProcessEvent>& watchedProcessEvents() const { return watched_.events; }
    std::vector<std::string> availableProcessPatterns() const;
    const ProcessSeries& processSearchData() const { return processSearch_; }      // whole
    const ProcessSeries& zoomFilteredProcessData() const { return zoomProcess_; }  // shown
    // The shown CPU series of the process, as a share of the machine when normalizeCPU is on.
    ChartSeries processSearchCPUData() const;
    // A CPU cell of the top CPU table (mean or peak), normalised when the option is on.
    std::string topCPUCellText(double percent) const;
    // The cores that normalisation divides by.
    int64_t normalizationCoreCount() const { return normalizationCores(latestMetrics()); }

    // --- chart data ----------------------------------------------------------------------------
    // The whole source at maxCachedResolution, its rankings and summary.
    const CachedChartData& cached() const { return cached_; }
    const std::string& cachedTimeRangeString() const { return cachedTimeRangeString_; }
    // What the charts and tables show: the zoom's, or the cached data reduced.
    const SystemSeries& zoomFilteredSeries() const { return zoomSeries_; }
    const std::vector<ProcessAggregate>& zoomFilteredTopCPUProcesses() const { return zoomTopCPU_; }
    const std::vector<ProcessAggregate>& zoomFilteredTopMemoryProcesses() const {
        return zoomTopMemory_;
    }

    // Summary values of the zoom window when there is one, else of the whole source.
    std::optional<double> avgMemoryUsedGB() const;
    std::optional<double> peakMemoryUsedGB() const;
    int64_t thermalWarningCount() const;
    int64_t memoryPressureEventCount() const;
    // The largest usage point (the first of equals) as its value and date.
    std::optional<std::pair<double, Date>> peakCpuUsage() const;
    // Sums of the kept points' MB back in bytes: an estimate over the points, not the samples.
    int64_t totalNetworkBytesIn() const;
    int64_t totalNetworkBytesOut() const;
    std::optional<ProcessAggregate> topCpuConsumer() const;
    // Active, wired and compressed of the shown series added up point by point, as "Used".
    ChartSeries cachedMemoryUsedData() const;
    // The last sample of the source with its system facts where it has them.
    const std::optional<CompactMetric>& latestMetrics() const { return cached_.lastMetrics; }
    // The model's "now", for texts that depend on the current year or day.
    const Clock& clock() const { return dispatcher_.clock(); }

  private:
    struct ZoomRebuild {
        bool cancelled = false;  // main queue only
    };

    explicit DashboardViewModel(DashboardDependencies dependencies);

    // Runs `work` detached and hands its result to `then` on the main queue, if the model
    // still lives.
    template <class Work, class Then>
    void inBackground(Work work, Then then);
    // Runs `step` on the main queue, if the model still lives.
    template <class Step>
    void onMain(Step step);
    void sendChange() { objectWillChange.set(objectWillChange.get() + 1); }

    // The steps of the loads, each on the main queue.
    void readAvailableDays(bool visible);
    void readSelectedDay(bool visible);
    void finishLoad(HostGroups groups, WatchedEvents watched, std::vector<AlertEvent> alerts);
    void failLoad(bool visible, DashboardError error);
    void finishDayLoad(std::vector<ChartSample> samples, WatchedEvents watched);
    void finishExternalLoad(std::vector<ChartSample> samples);
    void applyHostGroups(HostGroups groups);
    // Loading ends with the rebuild of the charts, then this.
    void finishRebuiltLoad(bool settleProgress);
    void applyCachedData(CachedChartData data);
    void applyZoomData(CachedChartData data);

    Dispatcher& dispatcher_;
    std::shared_ptr<PreferencesStore> preferences_;
    std::shared_ptr<MetricsStorage> storage_;
    Published<bool>::Subscription storesNormalizeChoice_;

    WatchedEvents watched_;
    ProcessSeries processSearch_;
    ProcessSeries zoomProcess_;
    std::optional<Date> zoomStartDate_;
    std::optional<Date> zoomEndDate_;
    std::optional<std::string> selectedDay_;
    std::shared_ptr<ZoomRebuild> zoomRebuildTask_;
    std::optional<Duration> lastPinnedUpdate_;
    CachedChartData cached_;
    std::string cachedTimeRangeString_ = "No data";
    SystemSeries zoomSeries_;
    std::vector<ProcessAggregate> zoomTopCPU_;
    std::vector<ProcessAggregate> zoomTopMemory_;
    ZoomSummary zoomSummary_;
    std::map<std::string, ChartSamples> allLoadedByHostname_;
};

template <class Step>
void DashboardViewModel::onMain(Step step) {
    dispatcher_.mainQueue().async([weak = weak_from_this(), step = std::move(step)]() mutable {
        if (auto self = weak.lock()) step(*self);
    });
}

template <class Work, class Then>
void DashboardViewModel::inBackground(Work work, Then then) {
    dispatcher_.detach([weak = weak_from_this(), &main = dispatcher_.mainQueue(),
                        work = std::move(work), then = std::move(then)]() mutable {
        // Nobody is left to take the result.
        if (weak.expired()) return;
        main.async([weak, result = work(), then = std::move(then)]() mutable {
            if (auto self = weak.lock()) then(*self, std::move(result));
        });
    });
}

}  // namespace ostrel
