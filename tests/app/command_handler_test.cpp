#include "app/command_handler.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "app/command_protocol.h"
#include "app/status_report.h"
#include "records/formatters.h"
#include "support/log_recorder.h"
#include "support/memory_preferences_store.h"
#include "support/temp_dir.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
namespace P = CommandProtocol;

// The application's configuration manager and monitor, reduced to what commands touch. The
// configuration is loaded from the same preferences the handler writes.
class FakeTarget : public CommandTarget {
  public:
    explicit FakeTarget(PreferencesStore& preferences) : preferences_(preferences) {}

    MonitorConfig loadConfiguration() override {
        calls.push_back("load");
        record = MonitorConfig{};
        if (preferences_.hasObject("intervalSeconds"))
            record.intervalSeconds = preferences_.integer("intervalSeconds");
        record.captureDurationMinutes = preferences_.integer("captureDurationMinutes");
        record.watchedProcesses =
            preferences_.stringArray("watchedProcesses").value_or(std::vector<std::string>{});
        record.storageEnabled = destination;
        return record;
    }
    MonitorConfig configuration() const override { return record; }
    void editConfiguration(const std::function<void(MonitorConfig&)>& change) override {
        change(record);
    }
    bool hasValidDestination() const override { return record.storageEnabled; }
    void configureMonitor(const MonitorConfig& config) override {
        calls.push_back("configure");
        configured = config;
    }
    MonitorStatusFigures monitorStatus() const override { return status; }
    void startMonitoring() override {
        calls.push_back("start");
        status.isRunning = true;
    }
    void stopMonitoring() override {
        calls.push_back("stop");
        status.isRunning = false;
    }
    void configureDurationLimitFromCLI(int64_t minutes) override {
        calls.push_back("duration " + std::to_string(minutes));
        status.activeDurationMinutes = minutes;
        status.captureEndTime = Date(std::chrono::seconds(1795345200));
    }
    void uploadNow() override { calls.push_back("upload"); }
    void clearStoredData() override { calls.push_back("clear"); }
    void clearPinnedProcesses() override { calls.push_back("clear-pins"); }
    void openDashboard() override { calls.push_back("dashboard"); }
    void terminate() override {
        calls.push_back("terminate");
        if (onTerminate) onTerminate();
    }

    bool destination = true;
    MonitorConfig record;
    MonitorConfig configured;
    MonitorStatusFigures status;
    std::vector<std::string> calls;
    std::function<void()> onTerminate;

  private:
    PreferencesStore& preferences_;
};

class CommandHandlerTest : public ::testing::Test {
  protected:
    std::vector<std::string> callsAfterReload() const {
        if (target.calls.size() < 2) return {};
        EXPECT_EQ(target.calls[0], "load");
        EXPECT_EQ(target.calls[1], "configure");
        return {target.calls.begin() + 2, target.calls.end()};
    }

    testing::MemoryPreferencesStore preferences;
    FakeTarget target{preferences};
    testing::VirtualClock clock;
    CommandHandler handler{target, preferences, clock, [](Date) { return std::string("DATE"); }};
    testing::LogRecorder log;
};

TEST_F(CommandHandlerTest, EachCommandReloadsThenActsInAnyLetterCase) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> table{
        {"Quit", {"terminate"}},
        {"upload", {"upload"}},
        {"CLEAR", {"clear"}},
        {"reload", {}},
        {"dashboard", {"dashboard"}},
        {"clear-pins", {"clear-pins"}},
        {"stop", {}},  // stopped already: nothing to stop
        {"frobnicate", {}},
    };
    for (const auto& [command, expected] : table) {
        target.calls.clear();
        handler.executeCommand(command);
        EXPECT_EQ(callsAfterReload(), expected) << command;
    }
    target.status.isRunning = true;
    target.calls.clear();
    handler.executeCommand("STOP");
    EXPECT_EQ(callsAfterReload(), std::vector<std::string>{"stop"});

    EXPECT_EQ(log.matching("Executing quit command").size(), 1u);
    EXPECT_EQ(log.matching("Executing reload command").size(), 1u);
    const auto unknown = log.matching("Unknown command: frobnicate");
    ASSERT_EQ(unknown.size(), 1u);
}

TEST_F(CommandHandlerTest, NotificationStoresWellTypedOptionsBeforeTheCommand) {
    handler.handleCommandNotification({
        {"command", "START"},
        {"durationMinutes", 30},
        {"intervalSeconds", "7"},  // wrong type: skipped
        {"watchedProcesses", PreferenceValue(std::vector<std::string>{"a"})},
    });
    EXPECT_FALSE(preferences.hasObject("intervalSeconds"));
    EXPECT_EQ(target.configured.captureDurationMinutes, 30);
    EXPECT_EQ(target.configured.watchedProcesses, std::vector<std::string>{"a"});
    EXPECT_EQ(log.matching("Received command: START").size(), 1u);
    EXPECT_EQ(callsAfterReload(), std::vector<std::string>{"start"});

    target.calls.clear();
    handler.handleCommandNotification({{"command", 5}, {"intervalSeconds", 9}});
    handler.handleCommandNotification({{"intervalSeconds", 9}});
    EXPECT_TRUE(target.calls.empty());
    EXPECT_FALSE(preferences.hasObject("intervalSeconds"));
}

TEST_F(CommandHandlerTest, PendingCommandIsRemovedThenRunOnce) {
    preferences.set(P::pendingCommandKey, "");
    handler.checkPendingCommand();
    EXPECT_TRUE(target.calls.empty());

    preferences.set(P::pendingCommandKey, "dashboard");
    handler.checkPendingCommand();
    handler.checkPendingCommand();
    EXPECT_FALSE(preferences.hasObject(P::pendingCommandKey));
    EXPECT_EQ(callsAfterReload(), std::vector<std::string>{"dashboard"});
    EXPECT_EQ(log.matching("Found pending command: dashboard").size(), 1u);
}

TEST_F(CommandHandlerTest, StartWithoutDestinationIsRefusedWithoutReply) {
    target.destination = false;
    handler.executeCommand("start");
    EXPECT_EQ(callsAfterReload(), std::vector<std::string>{});
    EXPECT_FALSE(preferences.hasObject(P::commandResultKey));
    EXPECT_EQ(log.matching("Start command ignored: No valid destination configured. Enable local "
                           "storage or configure Splunk upload.")
                  .size(),
              1u);
}

TEST_F(CommandHandlerTest, StartFromStoppedRepliesAndForgetsSessionSettingsUnlessManaged) {
    preferences.set("intervalSeconds", 3);
    preferences.set("captureDurationMinutes", 5);
    preferences.force("watchedProcesses", PreferenceValue(std::vector<std::string>{"m"}));
    handler.executeCommand("start");

    EXPECT_EQ(callsAfterReload(), std::vector<std::string>{"start"});
    EXPECT_EQ(preferences.dictionary(P::commandResultKey),
              (PreferenceDictionary{{"result", "started"}}));
    EXPECT_EQ(log.matching("Executing start command (interval: 3s, duration: 5m)").size(), 1u);
    // The session's duration is forgotten, the interval stays, and the managed names remain.
    EXPECT_FALSE(preferences.hasObject("captureDurationMinutes"));
    EXPECT_EQ(preferences.integer("intervalSeconds"), 3);
    EXPECT_EQ(target.record.captureDurationMinutes, 0);
    EXPECT_EQ(target.record.watchedProcesses, std::vector<std::string>{"m"});
    // The monitor keeps what it was configured with.
    EXPECT_EQ(target.configured.captureDurationMinutes, 5);
}

TEST_F(CommandHandlerTest, StartWhileRunningRestartsTheLimitAndReportsTheSession) {
    target.status = {.isRunning = true,
                     .successCount = 42,
                     .captureStartTime = Date(std::chrono::seconds(1795341600))};
    preferences.set("captureDurationMinutes", 30);
    handler.executeCommand("start");

    EXPECT_EQ(callsAfterReload(), std::vector<std::string>{"duration 30"});
    EXPECT_FALSE(preferences.hasObject("captureDurationMinutes"));
    EXPECT_EQ(preferences.dictionary(P::commandResultKey),
              (PreferenceDictionary{
                  {"result", "already_running"},
                  {"startedAt", "DATE"},
                  {"intervalSeconds", 2},
                  {"durationMinutes", 30},
                  {"durationDesc", "30m"},
                  {"recordsCollected", 42},
                  {"settingsApplied",
                   PreferenceValue(std::vector<std::string>{"interval: 2s", "duration: 30m"})},
              }));
    EXPECT_EQ(log.matching("Start command received while running — settings: interval: 2s, "
                           "duration: 30m")
                  .size(),
              1u);

    // Without a duration the limit is left alone and nothing counts as applied.
    target.status = {.isRunning = true};
    preferences.set("intervalSeconds", 9);
    handler.executeCommand("start");
    const auto reply = preferences.dictionary(P::commandResultKey).value();
    EXPECT_EQ(reply.at("durationDesc"), PreferenceValue("unlimited"));
    EXPECT_EQ(reply.at("startedAt"), PreferenceValue("unknown"));
    EXPECT_EQ(reply.at("intervalSeconds"), PreferenceValue(9));
    EXPECT_FALSE(reply.contains("settingsApplied"));
}

TEST_F(CommandHandlerTest, StatusSnapshotReadsBackAsTheReport) {
    target.status = {.isRunning = true,
                     .successCount = 7,
                     .errorCount = 1,
                     .storedRecordsCount = 70,
                     .pendingUploadCount = 3,
                     .storageSizeMB = 1.5,
                     .totalUploadedCount = 60,
                     .activeDurationMinutes = 90,
                     .captureStartTime = Date(std::chrono::seconds(1795341600)),
                     .lastCollection = Date(std::chrono::seconds(1795341660)),
                     .lastUploadDate = Date(std::chrono::seconds(1795341650)),
                     .lastUploadCount = 12};
    handler.executeCommand("status");
    target.record.uploadEnabled = true;
    target.record.headlessMode = true;
    handler.writeStatusToDefaults();

    const auto snapshot = preferences.dictionary(P::statusKey).value();
    EXPECT_EQ(snapshot.at("timestamp"), PreferenceValue(Formatters::iso8601(clock.now())));
    EXPECT_EQ(snapshot.at("captureStartTime"), PreferenceValue("2026-11-22T10:00:00Z"));
    EXPECT_FALSE(snapshot.contains("captureEndTime"));
    const auto iso = [](Date date) { return Formatters::iso8601(date); };
    EXPECT_EQ(statusReport(snapshot, iso),
              "Ostrel Status\n==================\nRunning: Yes\nLogging: Active\n"
              "Started: 2026-11-22T10:00:00Z\nLast collected: 2026-11-22T10:01:00Z\n"
              "Collection interval: 2s\nDuration limit: 90 minutes\nUI Mode: Headless (no UI)\n"
              "Records collected: 7\nErrors: 1\nStored records: 70\nStorage size: 1.5 MB\n"
              "Upload enabled: Yes\nTotal uploaded: 60\nPending upload: 3\n"
              "Last upload: 2026-11-22T10:00:50Z (12 records)\n");
}

TEST_F(CommandHandlerTest, CommandsArriveOverTheChannelOnTheMainQueue) {
    testing::TempDir folder;
    auto channel = makeCommandChannel(folder / "channel");
    auto dispatcher = makeThreadDispatcher();
    const auto mainThread = std::this_thread::get_id();
    std::thread::id terminatedOn;
    target.onTerminate = [&] {
        terminatedOn = std::this_thread::get_id();
        dispatcher->quitMainLoop();
    };
    handler.registerForCommandNotifications(*channel, dispatcher->mainQueue());
    EXPECT_EQ(log.matching("Listening for admin commands via distributed notifications").size(),
              1u);
    EXPECT_TRUE(channel->instanceRunning());
    EXPECT_EQ(channel->post({{"command", "quit"}}), 1u);

    // A guard, not a measurement: a lost datagram ends the loop instead of hanging the run.
    std::promise<void> finished;
    std::thread guard([&, done = finished.get_future()] {
        if (done.wait_for(10s) == std::future_status::timeout) dispatcher->quitMainLoop();
    });
    dispatcher->runMainLoop();
    finished.set_value();
    guard.join();
    EXPECT_EQ(terminatedOn, mainThread);
    handler.unregisterForCommandNotifications();
    EXPECT_FALSE(channel->instanceRunning());
}

}  // namespace
}  // namespace ostrel
