#include "platform/linux/file_preferences_store.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <thread>

#include "platform/app_paths.h"
#include "platform/linux/preferences_json.h"
#include "platform/standard_preferences.h"
#include "support/log_recorder.h"
#include "support/temp_dir.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using testing::LogRecorder;
using testing::readFile;

bool exitedCleanly(pid_t child) {
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class FilePreferencesStoreTest : public ::testing::Test {
  protected:
    FilePreferencesStore open() const { return FilePreferencesStore(user, managed); }

    testing::TempDir dir;
    const std::filesystem::path user = dir / "config/ostrel/com.ostrel.agent.json";
    const std::filesystem::path managed = dir / "etc/managed/com.ostrel.agent.json";
};

TEST_F(FilePreferencesStoreTest, ForcedValuesReadFirstAndWritesStayInTheUsersLayer) {
    LogRecorder log;
    auto store = open();
    EXPECT_FALSE(store.isForced("intervalSeconds"));
    EXPECT_FALSE(store.object("intervalSeconds"));

    dir.write(managed, R"({"intervalSeconds":5})");
    dir.write(user, R"({"intervalSeconds":3,"autoStart":true})");
    EXPECT_EQ(store.integer("intervalSeconds"), 5);
    EXPECT_TRUE(store.isForced("intervalSeconds"));
    EXPECT_FALSE(store.isForced("autoStart"));
    EXPECT_TRUE(store.boolean("autoStart"));

    store.set("intervalSeconds", 7);
    EXPECT_EQ(store.integer("intervalSeconds"), 5);
    EXPECT_EQ(readFile(user), "{\"autoStart\":true,\"intervalSeconds\":7}\n");
    EXPECT_EQ(readFile(managed), R"({"intervalSeconds":5})");

    std::filesystem::remove(managed);
    EXPECT_EQ(store.integer("intervalSeconds"), 7) << "the user's value was kept underneath";
    store.remove("intervalSeconds");
    EXPECT_FALSE(store.hasObject("intervalSeconds"));
    EXPECT_TRUE(log.entries().empty()) << "a missing managed file is silent";
    struct stat status {};
    ASSERT_EQ(stat(user.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u) << "the file may hold the collector's token";

    // A list with a number in it is no list of words; a value that JSON cannot hold is
    // refused, and the file stays as it was.
    const std::string mixed = R"({"list":["a",1]})";
    dir.write(user, mixed);
    EXPECT_FALSE(store.stringArray("list"));
    store.set("nan", NAN);
    EXPECT_FALSE(store.hasObject("nan"));
    EXPECT_EQ(readFile(user), mixed);
    EXPECT_EQ(log.matching("Could not save preferences").size(), 1u);
}

TEST_F(FilePreferencesStoreTest, WritesOfOtherInstancesAndProcessesShowAtTheNextRead) {
    auto reader = open();
    // Another writer may replace the file twice between two reads, with files of one size
    // that reuse the freed inode within one timestamp tick; the last must still be seen.
    const auto next = user.parent_path() / "next";
    for (int i = 200; i < 400; i += 2) {
        for (const int value : {i, i + 1}) {
            dir.write(next, "{\"counter\":" + std::to_string(value) + "}");
            std::filesystem::rename(next, user);
        }
        ASSERT_EQ(reader.integer("counter"), i + 1);
    }
    const pid_t child = fork();
    if (child == 0) {
        auto store = open();
        store.set("fromChild", "hello");
        _exit(store.integer("counter") == 399 ? 0 : 1);
    }
    ASSERT_TRUE(exitedCleanly(child));
    EXPECT_EQ(reader.string("fromChild"), "hello");

    // A file written in place by hand is seen too.
    dir.write(user, R"({"counter":1})");
    EXPECT_EQ(reader.integer("counter"), 1);
}

TEST_F(FilePreferencesStoreTest, AnUnreadableFileReadsEmptyIsLoggedOnceAndKeptAsideOnSave) {
    setenv("TZ", "UTC", 1);
    tzset();
    dir.write(user, "{\"hecToken\": \"abc\",");  // cut off mid-write by an editor, say
    LogRecorder log;
    testing::VirtualClock clock(testing::VirtualClock::defaultStart() + std::chrono::seconds(930));
    FilePreferencesStore store(user, managed, clock);
    EXPECT_FALSE(store.object("hecToken"));
    EXPECT_FALSE(store.object("hecToken"));
    store.synchronize();
    ASSERT_EQ(log.entries().size(), 1u);
    EXPECT_EQ(log.entries()[0].level, Logger::Level::warning);
    EXPECT_EQ(log.entries()[0].category, Logger::Category::general);
    EXPECT_NE(log.entries()[0].message.find(user.string()), std::string::npos);

    store.remove("absent");  // nothing to change: the broken file stays where it is
    EXPECT_EQ(readFile(user), "{\"hecToken\": \"abc\",");

    store.set("a", 1);
    const auto kept = user.string() + ".corrupt-20261122T101530";
    EXPECT_EQ(readFile(kept), "{\"hecToken\": \"abc\",");
    EXPECT_EQ(readFile(user), "{\"a\":1}\n");

    // A second broken file set aside within the same second gets a name of its own.
    dir.write(user, "[]");
    EXPECT_FALSE(store.object("a"));
    store.set("b", 2);
    EXPECT_EQ(readFile(kept + "-2"), "[]");
    EXPECT_EQ(log.matching("Ignoring preferences file").size(), 2u);

    // Only the newest three copies stay: each may hold the token.
    for (const char* broken : {"{", "[1"}) {
        clock.advance(std::chrono::seconds(1));
        dir.write(user, broken);
        store.set("c", 3);
    }
    EXPECT_FALSE(std::filesystem::exists(kept));
    EXPECT_EQ(readFile(kept + "-2"), "[]");
}

TEST_F(FilePreferencesStoreTest, ConcurrentWritersNeverLoseEachOthersKeys) {
    constexpr int kProcesses = 4, kWriters = 6, kKeys = 20;
    const auto key = [](int writer, int i) { return fmt::format("w{}-{}", writer, i); };
    // Each writer sets its keys, then removes every other one again.
    const auto writeKeys = [&](FilePreferencesStore& store, int writer) {
        for (int i = 0; i < kKeys; ++i)
            store.set(key(writer, i), i);
        for (int i = 0; i < kKeys; i += 2)
            store.remove(key(writer, i));
    };
    // Processes each have an instance of their own; the other writers are threads sharing one.
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t pid = fork();
        if (pid == 0) {
            auto store = open();
            writeKeys(store, p);
            _exit(0);
        }
        children.push_back(pid);
    }
    auto shared = open();
    std::vector<std::thread> threads;
    for (int t = kProcesses; t < kWriters; ++t)
        threads.emplace_back([&, t] { writeKeys(shared, t); });
    for (auto& thread : threads)
        thread.join();
    for (const pid_t pid : children)
        ASSERT_TRUE(exitedCleanly(pid));

    PreferenceDictionary expected;
    for (int w = 0; w < kWriters; ++w) {
        for (int i = 1; i < kKeys; i += 2)
            expected[key(w, i)] = i;
    }
    EXPECT_EQ(parsePreferences(readFile(user)), expected) << "valid JSON, no key lost";
}

// The managed file is the administrator's: no variable of a user's environment moves it.
TEST_F(FilePreferencesStoreTest, TheProcessStoreUsesTheStandardFilesAndIsShared) {
    setenv("OSTREL_MANAGED_PREFERENCES", managed.c_str(), 1);
    dir.write(managed, R"({"headlessMode":true})");
    EXPECT_EQ(paths::managedPreferencesFile(), "/etc/ostrel/managed/com.ostrel.agent.json");
    const auto store = openStandardPreferences();
    EXPECT_EQ(store, openStandardPreferences());
    EXPECT_FALSE(store->isForced("headlessMode"));
    store->set("autoStart", true);
    EXPECT_EQ(readFile(paths::userPreferencesFile()), "{\"autoStart\":true}\n");
    unsetenv("OSTREL_MANAGED_PREFERENCES");
}

}  // namespace
}  // namespace ostrel
