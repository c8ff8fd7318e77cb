#include "logging/logger.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <thread>

#include "platform/app_paths.h"
#include "records/formatters.h"
#include "support/log_recorder.h"
#include "support/memory_preferences_store.h"
#include "support/temp_dir.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

namespace fs = std::filesystem;
using Category = Logger::Category;
using Level = Logger::Level;
using testing::readFile;

class LoggerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        Logger::setPreferences(preferences);
        Logger::setLogFile(log, clock);
    }
    void TearDown() override {
        Logger::flush();
        Logger::setLogFile(paths::logFile(), systemClock());
        Logger::setPreferences(nullptr);
    }
    // The file's form of a line stamped now.
    std::string line(std::string_view rest) const {
        return "[" + Formatters::logStamp(clock.now()) + "] " + std::string(rest) + "\n";
    }

    testing::TempDir dir;
    testing::VirtualClock clock;
    testing::LogRecorder recorder;
    std::shared_ptr<testing::MemoryPreferencesStore> preferences =
        std::make_shared<testing::MemoryPreferencesStore>();
    fs::path log = dir / "ostrel.log";
};

TEST_F(LoggerTest, StoredLevelFiltersTheFileButNeverTheSystemLog) {
    Logger::debug("probe", Category::general);
    Logger::info("started", Category::general);
    Logger::warning("disk low", Category::storage);
    preferences->set("logLevel", 9);
    Logger::info("ignored", Category::ui);
    Logger::warning("still", Category::ui);
    preferences->set("logLevel", 3);
    Logger::warning("quiet", Category::network);
    Logger::error("refused", "connection reset", Category::network);
    preferences->set("logLevel", 0);
    Logger::debug("detail", Category::collection);
    Logger::flush();

    EXPECT_EQ(readFile(log), line("[WARN] [storage] ⚠️ disk low") +
                                 line("[WARN] [ui] ⚠️ still") +
                                 line("[ERROR] [network] ❌ refused: connection reset") +
                                 line("[DEBUG] [collection] detail"));
    const auto entries = recorder.entries();
    ASSERT_EQ(entries.size(), 8u);
    EXPECT_EQ(entries[0].level, Level::debug);
    EXPECT_EQ(entries[6].message, "refused: connection reset");
    EXPECT_EQ(entries[6].category, Category::network);
}

// A command's text arrives from anyone who can send one; it must not start a line of its own.
TEST_F(LoggerTest, ControlCharactersAreEscapedSoNoLineCanBeForged) {
    Logger::warning(
        "Unknown command: x\n[2026-01-01] [ERROR] [general] forged\r\t\x1b[2J\x7f"
        "\xc2\x9b \xc3\xa9",
        Category::general);
    Logger::flush();
    const std::string escaped =
        "Unknown command: x\\n[2026-01-01] [ERROR] [general] forged\\r\\t\\x1b[2J\\x7f"
        "\\u009b \xc3\xa9";
    EXPECT_EQ(readFile(log), line("[WARN] [general] ⚠️ " + escaped));
    EXPECT_EQ(recorder.entries().at(0).message, escaped);
}

TEST_F(LoggerTest, FlushWritesWhatWaitsAndLeavesTheLoggerUsable) {
    Logger::initializeLogFile();
    Logger::flush();
    EXPECT_EQ(readFile(log), "");

    Logger::error("one", Category::general);
    Logger::flush();
    Logger::error("two", Category::general);
    Logger::initializeLogFile();
    Logger::flush();
    EXPECT_EQ(readFile(log), line("[ERROR] [general] ❌ one") + line("[ERROR] [general] ❌ two"));
}

// The cause of a fatal end is in the file, not lost with the buffer. The child is a fresh
// run of this test (a forked one would lack the logger's writing thread), so it is told where
// this run's log is, and lets its own folder go.
TEST_F(LoggerTest, FatalErrorsAndUncaughtExceptionsReachTheFileBeforeTheEnd) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("OSTREL_TEST_FATAL_LOG", log.c_str(), 0);
    const auto intoParentsLog = [this] {
        fs::remove_all(dir.path());
        Logger::setLogFile(std::getenv("OSTREL_TEST_FATAL_LOG"), clock);
    };
    EXPECT_DEATH(
        {
            intoParentsLog();
            Logger::fatal("A period overflows the clock", Category::collection);
        },
        "");
    EXPECT_EQ(readFile(log), line("[FAULT] [collection] A period overflows the clock"));
    EXPECT_DEATH(
        {
            intoParentsLog();
            Logger::initializeLogFile();
            std::thread([] { throw std::runtime_error("boom"); }).join();
        },
        "");
    EXPECT_TRUE(readFile(log).ends_with(line("[FAULT] [general] Uncaught exception: boom")));
}

TEST_F(LoggerTest, MessagesFromManyThreadsArriveWhole) {
    constexpr int kThreads = 4;
    constexpr int kEach = 250;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < kEach; ++i) {
                Logger::warning(std::to_string(t) + "-" + std::to_string(i), Category::general);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    Logger::flush();

    std::istringstream file(readFile(log));
    std::set<std::string> seen;
    const std::string prefix = line("[WARN] [general] ⚠️ ");
    for (std::string text; std::getline(file, text);) {
        ASSERT_EQ(text.rfind(prefix.substr(0, prefix.size() - 1), 0), 0u) << text;
        seen.insert(text.substr(prefix.size() - 1));
    }
    EXPECT_EQ(seen.size(), size_t{kThreads * kEach});
}

TEST_F(LoggerTest, UnwritableFolderCostsOnlyTheFileLog) {
    // A path under a regular file fails even for root, which no folder mode would stop.
    dir.write("afile", "kept");
    Logger::setLogFile(dir / "afile" / "ostrel.log", clock);
    Logger::initializeLogFile();
    for (int i = 0; i < 12; ++i)
        Logger::warning("lost", Category::storage);
    Logger::flush();

    EXPECT_EQ(recorder.matching("lost").size(), 12u);
    EXPECT_EQ(recorder.entries().size(), 12u);
    EXPECT_EQ(readFile(dir / "afile"), "kept");
}

}  // namespace
}  // namespace ostrel
