#include "app/command_handler.h"

#include <gtest/gtest.h>

#include <limits>

#include "app/command_protocol.h"
#include "records/formatters.h"
#include "support/log_recorder.h"
#include "support/memory_preferences_store.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using Words = std::vector<std::string>;
namespace P = CommandProtocol;

// The configuration manager and monitor, reduced to what commands touch; the configuration
// loads from the same preferences the handler writes.
struct FakeTarget : CommandTarget {
    explicit FakeTarget(PreferencesStore& store) : preferences(store) {}

    MonitorConfig loadConfiguration() override {
        calls.push_back("load");
        record = MonitorConfig{.storageEnabled = destination,
                               .uploadEnabled = preferences.boolean("uploadEnabled")};
        if (preferences.hasObject("intervalSeconds"))
            record.intervalSeconds = preferences.integer("intervalSeconds");
        record.captureDurationMinutes = preferences.integer("captureDurationMinutes");
        record.watchedProcesses = preferences.stringArray("watchedProcesses").value_or(Words{});
        return record;
    }
    MonitorConfig configuration() const override { return record; }
    void editConfiguration(const std::function<void(MonitorConfig&)>& change) override {
        change(record);
    }
    bool hasValidDestination() const override { return record.storageEnabled; }
    void configureMonitor(const MonitorConfig& config) override { configured = config; }
    MonitorStatusFigures monitorStatus() const override { return status; }
    void startMonitoring() override { calls.push_back("start"); }
    void stopMonitoring() override { calls.push_back("stop"); }
    void configureDurationLimitFromCLI(int64_t) override { calls.push_back("limit"); }
    void uploadNow() override { calls.push_back("upload"); }
    void clearStoredData() override { calls.push_back("clear"); }
    void clearPinnedProcesses() override { calls.push_back("unpin"); }
    void openDashboard() override { calls.push_back("dashboard"); }
    void terminate() override { calls.push_back("terminate"); }

    PreferencesStore& preferences;
    bool destination = true;
    MonitorConfig record, configured;
    MonitorStatusFigures status;
    Words calls;
};

class CommandHandlerTest : public ::testing::Test {
  protected:
    testing::MemoryPreferencesStore preferences;
    FakeTarget target{preferences};
    testing::VirtualClock clock;
    CommandHandler handler{target, preferences, clock, [](Date) { return std::string("DATE"); }};
    testing::LogRecorder log;
};

TEST_F(CommandHandlerTest, EveryCommandReloadsFirstThenActsInAnyLetterCase) {
    for (const char* command :
         {"Quit", "upload", "CLEAR", "reload", "dashboard", "clear-pins", "stop", "frobnicate"}) {
        handler.executeCommand(command);
    }
    target.status.isRunning = true;
    handler.executeCommand("STOP");
    EXPECT_EQ(target.calls,
              (Words{"load", "terminate", "load", "upload", "load", "clear", "load", "load",
                     "dashboard", "load", "unpin", "load", "load", "load", "stop"}));
    EXPECT_EQ(log.matching("Executing reload command").size(), 1u);
    EXPECT_EQ(log.matching("Unknown command: frobnicate").size(), 1u);
}

TEST_F(CommandHandlerTest, NotificationStoresWellTypedOptionsBeforeTheCommand) {
    handler.handleCommandNotification({{"command", "START"},
                                       {"durationMinutes", 30},
                                       {"intervalSeconds", "7"},
                                       {"watchedProcesses", PreferenceValue(Words{"a"})}});
    EXPECT_FALSE(preferences.hasObject("intervalSeconds"));
    EXPECT_EQ(target.configured.captureDurationMinutes, 30);
    EXPECT_EQ(target.configured.watchedProcesses, Words{"a"});
    EXPECT_EQ(log.matching("Received command: START").size(), 1u);
    EXPECT_EQ(target.calls, (Words{"load", "start"}));

    handler.handleCommandNotification({{"command", 5}, {"intervalSeconds", 9}});
    handler.handleCommandNotification({{"intervalSeconds", 9}});
    EXPECT_EQ(target.calls.size(), 2u);
    EXPECT_FALSE(preferences.hasObject("intervalSeconds"));

    // Values no command line could send would overflow the capture's clock: dropped, and the
    // command runs on the stored settings.
    handler.handleCommandNotification({{"command", "start"},
                                       {"durationMinutes", std::numeric_limits<int64_t>::max()},
                                       {"intervalSeconds", 0}});
    EXPECT_FALSE(preferences.hasObject("captureDurationMinutes"));
    EXPECT_FALSE(preferences.hasObject("intervalSeconds"));
    EXPECT_EQ(log.matching("Ignoring durationMinutes 9223372036854775807 of a command: outside 0 "
                           "to 7200")
                  .size(),
              1u);
    EXPECT_EQ(log.matching("Ignoring intervalSeconds 0 of a command").size(), 1u);
    EXPECT_EQ(target.calls, (Words{"load", "start", "load", "start"}));
}

TEST_F(CommandHandlerTest, PendingCommandIsRemovedThenRunOnce) {
    preferences.set(P::pendingCommandKey, "");
    handler.checkPendingCommand();
    preferences.set(P::pendingCommandKey, "dashboard");
    handler.checkPendingCommand();
    handler.checkPendingCommand();
    EXPECT_FALSE(preferences.hasObject(P::pendingCommandKey));
    EXPECT_EQ(target.calls, (Words{"load", "dashboard"}));
    EXPECT_EQ(log.matching("Found pending command: dashboard").size(), 1u);
}

TEST_F(CommandHandlerTest, StartFromStoppedRepliesAndForgetsSessionSettingsUnlessManaged) {
    target.destination = false;
    handler.executeCommand("start");
    EXPECT_EQ(target.calls, Words{"load"});
    EXPECT_FALSE(preferences.hasObject(P::commandResultKey));
    EXPECT_EQ(log.matching("Start command ignored: No valid destination configured. Enable "
                           "local storage or configure Splunk upload.")
                  .size(),
              1u);

    target.destination = true;
    preferences.set("intervalSeconds", 3);
    preferences.set("captureDurationMinutes", 5);
    preferences.force("watchedProcesses", PreferenceValue(Words{"m"}));
    handler.executeCommand("start");
    EXPECT_EQ(target.calls, (Words{"load", "load", "start"}));
    EXPECT_EQ(preferences.dictionary(P::commandResultKey),
              (PreferenceDictionary{{"result", "started"}}));
    EXPECT_EQ(log.matching("Executing start command (interval: 3s, duration: 5m)").size(), 1u);
    EXPECT_FALSE(preferences.hasObject("captureDurationMinutes"));
    EXPECT_EQ(preferences.integer("intervalSeconds"), 3);
    EXPECT_EQ(target.record.captureDurationMinutes, 0);
    EXPECT_EQ(target.record.watchedProcesses, Words{"m"});
    // The running capture keeps what the monitor was configured with.
    EXPECT_EQ(target.configured.captureDurationMinutes, 5);
}

// With a duration the limit restarts; the executable's test covers that path end to end.
TEST_F(CommandHandlerTest, StartWhileRunningWithoutDurationLeavesTheLimitAlone) {
    target.status = {.isRunning = true,
                     .successCount = 42,
                     .captureStartTime = Date(std::chrono::seconds(1795341600))};
    preferences.set("intervalSeconds", 9);
    handler.executeCommand("start");
    EXPECT_EQ(target.calls, Words{"load"});
    EXPECT_EQ(preferences.dictionary(P::commandResultKey),
              (PreferenceDictionary{{"result", "already_running"},
                                    {"startedAt", "DATE"},
                                    {"intervalSeconds", 9},
                                    {"durationMinutes", 0},
                                    {"durationDesc", "unlimited"},
                                    {"recordsCollected", 42}}));
    EXPECT_EQ(log.matching("Start command received while running — settings: interval: 9s").size(),
              1u);
}

// Storage off, so that the logging line takes its third form (the executable's test sees the
// other two), upload on and a broken managed file, so that every line the snapshot carries is
// read back.
TEST_F(CommandHandlerTest, StatusSnapshotReadsBackAsTheReport) {
    target.status = {.isRunning = true,
                     .successCount = 7,
                     .errorCount = 1,
                     .storedRecordsCount = 70,
                     .pendingUploadCount = 3,
                     .storageSizeMB = 1.26,
                     .totalUploadedCount = 60,
                     .activeDurationMinutes = 90,
                     .captureStartTime = Date(std::chrono::seconds(1795341600)),
                     .lastCollection = Date(std::chrono::seconds(1795341660)),
                     .lastUploadDate = Date(std::chrono::seconds(1795341650)),
                     .lastUploadCount = 12,
                     .rejectedUploadCount = 5,
                     .lastError = "Failed to upload 3 records"};
    preferences.set("intervalSeconds", 4);
    preferences.set("uploadEnabled", true);
    preferences.managedError = "cannot read /etc/x.json: Permission denied";
    target.destination = false;
    handler.executeCommand("status");
    const auto snapshot = preferences.dictionary(P::statusKey).value();
    EXPECT_EQ(snapshot.at("timestamp"), PreferenceValue(Formatters::iso8601(clock.now())));
    EXPECT_FALSE(snapshot.contains("captureEndTime"));
    EXPECT_EQ(statusReport(snapshot, [](Date date) { return Formatters::iso8601(date); }),
              "Ostrel Status\n==================\nRunning: Yes\nLogging: Disabled\n"
              "Started: 2026-11-22T10:00:00Z\nLast collected: 2026-11-22T10:01:00Z\n"
              "Collection interval: 4s\nDuration limit: 90 minutes\nUI Mode: Full\n"
              "Records collected: 7\nErrors: 1\nStored records: 70\nStorage size: 1.3 MB\n"
              "Upload enabled: Yes\nTotal uploaded: 60\nPending upload: 3\n"
              "Last upload: 2026-11-22T10:00:50Z (12 records)\n"
              "Managed settings: cannot read /etc/x.json: Permission denied; running on "
              "defaults\n"
              "Refused by collector: 5 records (in upload/rejected)\n"
              "Last error: Failed to upload 3 records\n");
}

}  // namespace
}  // namespace ostrel
