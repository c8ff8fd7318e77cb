#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "monitor/connection_status.h"
#include "platform/dispatcher.h"
#include "platform/network_path_monitor.h"
#include "platform/power_source.h"
#include "platform/wake_monitor.h"
#include "records/monitor_config.h"
#include "records/process_search_result.h"
#include "records/published.h"
#include "records/system_metrics.h"
#include "records/watched_process_event.h"
#include "storage/storage_health.h"
#include "upload/hec_error.h"
#include "upload/splunk_hec_client.h"

namespace ostrel {

class AlertManager;
class MetricsAggregator;
class MetricsStorage;
class PreferencesStore;

using HECClientFactory = std::function<tl::expected<std::shared_ptr<SplunkHECClient>, HECError>(
    const MonitorConfig& config)>;
using WakeObserverFactory =
    std::function<std::unique_ptr<WakeObservation>(Dispatcher& dispatcher, Task onWake)>;

// What the monitor is built from: this machine's pieces in the application, fakes and a
// virtual-time dispatcher in tests.
struct MonitorDependencies {
    Dispatcher* dispatcher = nullptr;               // outlives the monitor
    AlertManager* alertManager = nullptr;           // outlives the monitor
    std::shared_ptr<PreferencesStore> preferences;  // holds the pins
    std::shared_ptr<MetricsAggregator> collector;
    std::shared_ptr<MetricsStorage> storage;
    // Left empty, each of these three is this machine's own.
    HECClientFactory makeHECClient;
    WakeObserverFactory observeWake;
    NetworkPathMonitorFactory makePathMonitor;
    // The power source list, which tells a laptop from a machine that never sleeps on battery.
    std::shared_ptr<PowerSource> powerSources;

    // This machine's collectors and path monitor, storage under `storageDirectory` with default
    // settings, clients over libcurl, wake from logind or the clock.
    static MonitorDependencies forThisMachine(Dispatcher& dispatcher, AlertManager& alertManager,
                                              std::shared_ptr<PreferencesStore> preferences,
                                              std::filesystem::path storageDirectory);
    // Clients built from the settings with `options`; the monitor's default, with the
    // dispatcher's clock.
    static HECClientFactory hecClientFactory(const Clock& clock, HECClientOptions options = {});
};

// The central object: the collection, upload, duration, popup and background-alert timers, the
// sample and upload cycles, the pins, and all the state the views show. Everything public is
// called on the main queue, where the published fields are written too; the monitor must also
// be released there. Timer handlers and queued work hold it weakly, so a pending step never
// keeps it alive and finds nothing to do once it is gone.
class PerformanceMonitor : public std::enable_shared_from_this<PerformanceMonitor> {
  public:
    static constexpr int kMaxPinnedProcesses = 5;
    static constexpr int kSearchResultLimit = 20;
    static constexpr const char* kPinnedProcessesKey = "pinnedProcesses";

    // Builds the monitor and takes one display sample with default settings, writing nothing.
    static std::shared_ptr<PerformanceMonitor> create(MonitorDependencies dependencies);
    ~PerformanceMonitor();
    PerformanceMonitor(const PerformanceMonitor&) = delete;
    PerformanceMonitor& operator=(const PerformanceMonitor&) = delete;

    // --- published state ---------------------------------------------------------------------
    Published<bool> isRunning{false};
    // When the main-queue step of the last stored sample ran (not the sample's own stamp).
    Published<std::optional<Date>> lastCollection;
    Published<std::optional<SystemMetrics>> lastMetrics;
    Published<int64_t> successCount{0};
    Published<int64_t> errorCount{0};
    Published<std::optional<std::string>> lastError;
    Published<ConnectionStatus> connectionStatus;
    Published<int64_t> storedRecordsCount{0};
    Published<double> storageSizeMB{0};
    Published<std::optional<StorageHealth>> storageHealth;
    Published<int64_t> pendingUploadCount{0};
    // Records in files the collector refused for good, kept aside in upload/rejected/.
    Published<int64_t> rejectedUploadCount{0};
    Published<std::optional<Date>> lastUploadDate;
    Published<int64_t> lastUploadCount{0};
    Published<int64_t> totalUploadedCount{0};
    Published<bool> isUploading{false};
    Published<std::optional<Date>> captureStartTime;
    Published<std::optional<Date>> captureEndTime;
    Published<bool> stoppedByDurationLimit{false};
    Published<std::vector<std::string>> pinnedProcesses;
    Published<std::vector<WatchedProcessMetrics>> watchedMetrics;
    Published<std::string> processSearchQuery;
    Published<std::vector<ProcessSearchResult>> processSearchResults;

    // --- run loop ------------------------------------------------------------------------------
    void configure(MonitorConfig config);
    void start();
    void stop();
    void resetCounters();
    // One stored sample: copied settings here, collection on the collection queue, publishing
    // and storing on the main queue.
    void collectAndStore();
    MonitorConfig currentConfig() const;

    // --- side timers ---------------------------------------------------------------------------
    // The shell opens the popup while stopped; a running monitor feeds it from its samples.
    void startUITimer();
    void stopPopupRefresh();
    bool isPopupOpen() const { return popupOpen_; }
    void setPopupOpen(bool open) { popupOpen_ = open; }
    void configureDurationLimitFromCLI(int64_t minutes);
    // Whole minutes from capture start to the limit's end: the capture's length, not what is left.
    std::optional<int64_t> activeDurationMinutes() const;
    void updateStorageStatus();

    // --- upload, wake, connection --------------------------------------------------------------
    void uploadNow();
    void performUpload();
    void handleSystemWake();
    void testConnection();
    // 15 seconds where the machine has a battery-capable power source, else 30.
    double networkWaitTimeout() const;

    // --- pins and watched processes ------------------------------------------------------------
    bool isPinned(const std::string& name) const;
    bool pinProcess(const std::string& name);
    void unpinProcess(const std::string& name);
    void clearPinnedProcesses();
    void searchProcesses(const std::string& query);
    void refreshWatchedMetrics();

  private:
    struct Core;
    struct WakeWait;
    struct UploadResult {
        int64_t uploaded = 0;
        int64_t failed = 0;
        int64_t filesDeleted = 0;
        int64_t rejected = 0;  // records in files moved to upload/rejected/
    };
    // One file's outcome: records sent, or the records of a refused batch with the refusal.
    struct FileUpload {
        int64_t sent = 0;
        int64_t failed = 0;
        std::optional<HECFailure> failure;
    };
    using Weak = std::weak_ptr<PerformanceMonitor>;

    explicit PerformanceMonitor(MonitorDependencies dependencies);
    void finishConstruction();

    // Run loop.
    void configureHECClient();
    void logMonitorStart();
    void startCollectionTimer();
    // The three stages of a stored sample: settings copied on the caller's queue, collection on
    // the collection queue, landing on the main queue. The collection timer, which fires on the
    // collection queue, starts at the second.
    static void beginSample(const std::shared_ptr<Core>& core, SerialQueue& collectionQueue,
                            Weak weak);
    static void collectSample(const std::shared_ptr<Core>& core,
                              std::shared_ptr<const MonitorConfig> config,
                              const std::vector<std::string>& pins, Weak weak);
    void landSample(Core& core, SystemMetrics metrics, std::vector<WatchedProcessMetrics> watched,
                    const MonitorConfig& config);
    void saveMetricsToStorage(const SystemMetrics& metrics, MetricsStorage& storage);
    // Each timer fires on the queue its work belongs to, so that a firing wakes one thread.
    std::unique_ptr<Timer> makeTimer(SerialQueue& queue, Duration first, Duration period,
                                     Duration leeway, Task handler);
    // A repeating timer that runs `step` on the main queue while the monitor lives.
    std::unique_ptr<Timer> makeMainQueueTimer(Duration period, Duration leeway,
                                              void (PerformanceMonitor::*step)());

    // Side timers.
    void preWarmMetrics();
    // The popup's refresh: a sample for display only, on the collection queue.
    static void refreshUIWithQoS(const std::shared_ptr<Core>& core, const MonitorConfig& config,
                                 const std::vector<std::string>& pins, Weak weak);
    void configureDurationLimit();
    void startDurationTimer();
    void checkDurationLimit();
    void updateBackgroundAlertTimer();
    void startBackgroundAlertTimer();
    void stopBackgroundAlertTimer();
    // A sample for the alerts only, on the collection queue.
    static void collectForAlertOnly(const std::shared_ptr<Core>& core, MonitorConfig config,
                                    Weak weak);
    // Publishes a display sample from the pre-warm or the popup refresh.
    void publishDisplaySample(SystemMetrics metrics);

    // Upload cycle.
    void startUploadTimer();
    static UploadResult uploadFiles(const Core& core,
                                    const std::vector<std::filesystem::path>& files,
                                    SplunkHECClient& client);
    static FileUpload uploadSingleFile(const std::filesystem::path& file, SplunkHECClient& client);
    // Moves a file refused for good out of the queue and logs the collector's answer.
    static void setAside(const Core& core, const std::filesystem::path& file, int64_t records,
                         const HECFailure& refusal);
    void finalizeUpload(const UploadResult& result);

    // Wake.
    void setupWakeNotification();
    void waitForNetworkAndUpload();
    void verifyEndpointAndUpload();
    // Ends a wake's wait; false when its other end came first.
    bool endWakeWait(uint64_t id);

    // Pins.
    void loadPinnedProcesses();
    void savePinnedProcesses();
    void saveWatchedProcessEvents(const std::vector<WatchedProcessMetrics>& watched,
                                  const SystemMetrics& metrics, MetricsStorage& storage);
    // Publishes the pin list after a change of the guarded copy.
    void publishPins();

    Dispatcher& dispatcher_;
    // What queued work and timer handlers share with the monitor; they hold this, not `this`.
    std::shared_ptr<Core> core_;
    std::shared_ptr<PreferencesStore> preferences_;
    HECClientFactory makeHECClient_;
    WakeObserverFactory observeWake_;
    NetworkPathMonitorFactory makePathMonitor_;
    std::shared_ptr<PowerSource> powerSources_;

    std::optional<Date> lastMetricsTimestamp_;
    // The store's reading behind the three storage figures now shown; main queue only.
    std::shared_ptr<const StorageHealth> shownHealth_;
    bool popupOpen_ = false;
    std::shared_ptr<SplunkHECClient> hecClient_;

    // Queues before timers: the timers fire on them, so they go last.
    std::shared_ptr<SerialQueue> collectionQueue_;
    std::unique_ptr<Timer> collectionTimer_;
    std::unique_ptr<Timer> uiTimer_;
    std::unique_ptr<Timer> uploadTimer_;
    std::unique_ptr<Timer> durationTimer_;
    std::unique_ptr<Timer> backgroundAlertTimer_;
    std::unique_ptr<WakeObservation> wakeObserver_;
    std::vector<std::unique_ptr<WakeWait>> wakeWaits_;
    uint64_t lastWakeWaitId_ = 0;
};

}  // namespace ostrel
