#include "config/configuration_manager.h"

#include <gtest/gtest.h>

#include <limits>

#include "platform/linux/file_preferences_store.h"
#include "records/record_json.h"
#include "support/log_recorder.h"
#include "support/memory_preferences_store.h"
#include "support/temp_dir.h"

namespace ostrel {
namespace {

using testing::LogRecorder;
using testing::MemoryPreferencesStore;

struct Manager {
    std::shared_ptr<MemoryPreferencesStore> store = std::make_shared<MemoryPreferencesStore>();
    ConfigurationManager manager{store};
};

TEST(ConfigurationManagerTest, StoredValuesAreTakenDroppedOrClampedByTheirKeysRules) {
    // What the loaded record holds is observed through a save of it under the same key.
    using Pairs = std::vector<std::pair<PreferenceValue, PreferenceValue>>;  // stored, loaded
    const std::pair<const char*, Pairs> cases[] = {
        {"intervalSeconds", {{0, 2}, {60, 10}, {-5, 2}, {"7 seconds", 7}}},
        {"alertCPUThreshold", {{150, 90}, {0, 90}, {100, 100}}},
        {"alertMemoryPressureLevel", {{3, 4}, {5, 4}, {-1, 4}, {0, 0}}},
        {"alertSustainedSeconds", {{0, 0}, {4000, 3600}, {-1, 0}}},
        // Values that overflowed clock or calendar arithmetic stop at a bound a user never meets.
        {"captureDurationMinutes", {{-3, 0}, {200'000'000, 527'040}, {1e300, 527'040}}},
        {"uploadIntervalMinutes",
         {{int64_t{153'722'868}, 10'080}, {"9999999999999999999", 10'080}}},
        {"alertCooldownMinutes", {{std::numeric_limits<int64_t>::max(), 10'080}}},
        {"retentionDays", {{int64_t{3'000'000'000}, 3660}, {int64_t{4'294'967'295}, 3660}}},
        {"maxStorageMB", {{0, 500}, {std::numeric_limits<int64_t>::max(), 1'048'576}}},
        {"rotationPolicy", {{"Hourly", "daily"}, {"hourly", "hourly"}}},
        {"splunkIndex", {{"", ""}}},
        {"sourcetype", {{42, "42"}}},
        {"hecEndpoint", {{PreferenceArray{"x"}, ""}}},
        {"autoStart", {{"YES", true}}},
        {"watchedProcesses", {{PreferenceArray{"a", 1}, PreferenceArray{}}}},
    };
    for (const auto& [key, pairs] : cases) {
        for (size_t i = 0; i < pairs.size(); ++i) {
            Manager m;
            m.store->set(key, pairs[i].first);
            m.manager.load();
            m.manager.saveToDefaults();
            EXPECT_EQ(m.store->userValue(key), pairs[i].second) << key << " case " << i;
        }
    }
}

TEST(ConfigurationManagerTest, VerboseLoggingStandsInOnlyForAMissingOrInvalidLevel) {
    const struct {
        std::optional<PreferenceValue> logLevel, verboseLogging;
        LogLevel expected;
    } cases[] = {
        {7, true, LogLevel::debug},     {2, true, LogLevel::warning}, {{}, true, LogLevel::debug},
        {{}, false, LogLevel::warning}, {-1, "yes", LogLevel::debug}, {1, {}, LogLevel::info},
    };
    for (const auto& test : cases) {
        Manager m;
        if (test.logLevel) m.store->set("logLevel", *test.logLevel);
        if (test.verboseLogging) m.store->set("verboseLogging", *test.verboseLogging);
        m.manager.load();
        EXPECT_EQ(m.manager.config->logLevel, test.expected);
        m.manager.saveToDefaults();
        EXPECT_EQ(m.store->userValue("verboseLogging"), test.verboseLogging) << "never written";
    }
}

TEST(ConfigurationManagerTest, LoadIsOneChangeAndEachCorrectionAnother) {
    Manager m;
    std::vector<std::pair<MonitorConfig, MonitorConfig>> changes;  // stored, incoming
    auto subscription = m.manager.config.subscribe(
        [&](const MonitorConfig& next) { changes.emplace_back(m.manager.config.get(), next); });
    m.manager.load();
    EXPECT_EQ(changes.size(), 1u);
    EXPECT_EQ(m.manager.config.get(), MonitorConfig{});

    changes.clear();
    m.store->set("intervalSeconds", 60);
    m.store->set("rotationPolicy", "weekly");
    m.manager.load();
    ASSERT_EQ(changes.size(), 3u);
    EXPECT_EQ(changes[1].first.intervalSeconds, 60);
    EXPECT_EQ(changes[1].second.intervalSeconds, 10);
    EXPECT_EQ(changes[2].second.rotationPolicy, "daily");

    // Values set in memory reach the store unchecked: only load validates.
    m.manager.config.modify([](MonitorConfig& c) { c.alertCPUThreshold = 150; });
    m.manager.saveToDefaults();
    EXPECT_EQ(m.store->userValue("alertCPUThreshold"), PreferenceValue(150));
    m.manager.validateConfig();
    EXPECT_EQ(m.manager.config->alertCPUThreshold, 100);
}

TEST(ConfigurationManagerTest, SaveThenLoadKeepsEveryField) {
    const auto changed = decodeJson<MonitorConfig>(
        R"({"intervalSeconds":5,"autoStart":true,"captureDurationMinutes":30,"headlessMode":true,)"
        R"("minimalUI":true,"logLevel":1,"collectCPU":false,"collectMemory":false,)"
        R"("collectDisk":false,"collectNetwork":false,"collectProcesses":false,)"
        R"("aggregateProcesses":true,"showPIDsInUI":false,"collectPower":false,)"
        R"("collectGPU":false,"collectSystem":false,"storageEnabled":false,"maxStorageMB":9,)"
        R"("retentionDays":3,"rotationPolicy":"hourly","uploadEnabled":true,"hecEndpoint":"e",)"
        R"("hecToken":"t","splunkIndex":"i","sourcetype":"s","verifySSL":false,)"
        R"("uploadIntervalMinutes":9,"alertsEnabled":true,"alertInBackground":true,)"
        R"("alertCPUThreshold":70,"alertSustainedSeconds":20,"alertMemoryPressureLevel":2,)"
        R"("alertMemorySustainedSeconds":40,"alertCooldownMinutes":3,)"
        R"("alertShowNotification":false,"alertLogEvents":false,"alertCPUNotificationTitle":"a",)"
        R"("alertCPUNotificationBody":"b","alertMemoryNotificationTitle":"c",)"
        R"("alertMemoryNotificationBody":"d","watchedProcesses":["x"]})");
    ASSERT_TRUE(changed);
    Manager m;
    m.manager.config.set(*changed);
    m.manager.saveToDefaults();
    EXPECT_EQ(m.store->userValue("logLevel"), PreferenceValue(1));
    ConfigurationManager other(m.store);
    other.load();
    EXPECT_EQ(other.config.get(), *changed);
}

TEST(ConfigurationManagerTest, AForcedKeyIsReadButNeverSavedOver) {
    LogRecorder log;
    Manager m;
    m.store->set("hecEndpoint", "https://mine");
    m.store->force("hecEndpoint", "https://corp");
    m.manager.load();
    EXPECT_EQ(m.manager.config->hecEndpoint, "https://corp");
    m.manager.saveToDefaults();
    EXPECT_EQ(m.store->userValue("hecEndpoint"), PreferenceValue("https://mine"));
    EXPECT_FALSE(m.manager.hasManagedPreferences()) << "the endpoint alone is no managed machine";
    EXPECT_TRUE(log.entries().empty());

    m.store->force("intervalSeconds", 5);
    m.manager.load();
    m.manager.config.modify([](MonitorConfig& c) { c.intervalSeconds = 8; });
    m.manager.saveToDefaults();
    EXPECT_EQ(m.store->userValue("intervalSeconds"), PreferenceValue(2)) << "saved unforced";
    m.manager.load();
    EXPECT_EQ(m.manager.config->intervalSeconds, 5);
    EXPECT_TRUE(m.manager.hasManagedPreferences());
    const auto entries = log.entries();
    ASSERT_FALSE(entries.empty());
    EXPECT_EQ(entries[0].message, "Loaded configuration (MDM-managed)");
    EXPECT_EQ(entries[0].level, Logger::Level::info);
    EXPECT_EQ(entries[0].category, Logger::Category::general);
}

// A broken profile must not let the user's own values through, nor be copied over: until it
// reads again, the program runs on its defaults.
TEST(ConfigurationManagerTest, AnUnreadableManagedFileHoldsEverySettingAtItsDefault) {
    testing::TempDir dir;
    const auto user = dir.write("user.json", R"({"storageEnabled":false,"intervalSeconds":3})");
    const auto managed = dir.write("managed.json", R"({"uploadEnabled":)");
    LogRecorder log;
    const auto store = std::make_shared<FilePreferencesStore>(user, managed);
    ConfigurationManager manager(store);
    manager.load();
    EXPECT_EQ(manager.config.get(), MonitorConfig{});
    EXPECT_TRUE(store->isForced("hecToken"));
    EXPECT_EQ(store->managedLayerError(), "cannot read " + managed.string() + ": not valid JSON");
    manager.saveToDefaults();
    EXPECT_EQ(testing::readFile(user), R"({"storageEnabled":false,"intervalSeconds":3})");
    const auto errors = log.matching("Cannot read managed preferences file " + managed.string());
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(log.entries().front().level, Logger::Level::error);

    dir.write("managed.json", R"({"intervalSeconds":5})");
    manager.load();
    EXPECT_EQ(manager.config->intervalSeconds, 5);
    EXPECT_FALSE(manager.config->storageEnabled);
    EXPECT_FALSE(store->managedLayerError());
}

TEST(ConfigurationManagerTest, LogConfigWritesSevenDebugLinesWithoutSecrets) {
    Manager m;
    m.store->set("hecToken", "secret-token");
    m.store->set("logLevel", 3);
    m.manager.load();
    LogRecorder log;
    m.manager.logConfig();
    std::string text;
    for (const auto& entry : log.entries()) {
        EXPECT_EQ(entry.level, Logger::Level::debug);
        EXPECT_EQ(entry.category, Logger::Category::general);
        text += entry.message + "\n";
    }
    EXPECT_EQ(text,
              "Config: interval=2s, autoStart=false, duration=0m\n"
              "Config: headless=false, minimalUI=false, logLevel=Errors Only\n"
              "Config: collectCPU=true, collectMemory=true, collectDisk=true, collectNetwork=true\n"
              "Config: collectProcesses=true, collectPower=true, collectGPU=true, "
              "collectSystem=true\n"
              "Config: storageEnabled=true, maxStorage=500MB, retention=7d\n"
              "Config: uploadEnabled=false, uploadInterval=5m\n"
              "Config: alertsEnabled=false, cpuThreshold=90%, memPressure=4\n");
}

}  // namespace
}  // namespace ostrel
