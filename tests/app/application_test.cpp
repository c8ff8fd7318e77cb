// The built executable as an administrator meets it: a client process and a running
// application process, talking over the real channel under a home of the test's own.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <optional>
#include <thread>

#include "app/command_protocol.h"
#include "app/help_text.h"
#include "platform/app_launcher.h"
#include "platform/linux/file_preferences_store.h"
#include "platform/subprocess.h"
#include "support/temp_dir.h"

namespace ostrel {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// Long enough for a loaded machine; every wait polls and ends as soon as it can.
constexpr auto kPatience = 30s;

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(100ms);
    }
    return true;
}

// Running and not yet reaped counts as gone: launched applications are nobody's child here.
bool alive(pid_t pid) {
    const std::string stat = testing::readFile(fs::path("/proc") / std::to_string(pid) / "stat");
    const auto state = stat.rfind(") ");
    return state != std::string::npos && stat[state + 2] != 'Z';
}

std::string mappedFiles(pid_t pid) {
    return testing::readFile(fs::path("/proc") / std::to_string(pid) / "maps");
}

bool contains(const std::string& text, const std::string& fragment) {
    return text.find(fragment) != std::string::npos;
}

// Each test's applications live under a private home and run from a copy of the executable
// with a name of the test's own, so that neither a real instance of the user nor another
// test's is ever taken for this test's, and cleanup finds exactly what the test started.
class ApplicationTest : public ::testing::Test {
  protected:
    ApplicationTest() {
        // Canonical, as the process list shows it.
        executable_ = fs::canonical(home_.path()) / ("ostrel-t" + std::to_string(getpid()));
        fs::copy_file(OSTREL_EXECUTABLE, executable_);
        // The desktop module beside the copy, where the build has one.
        const fs::path module = fs::path(OSTREL_EXECUTABLE).parent_path() / "libostrel_gui.so";
        if (fs::exists(module))
            fs::copy_file(module, executable_.parent_path() / module.filename());
        setVariable("HOME", home_.path());
        for (const auto& [variable, folder] : {std::pair{"XDG_CONFIG_HOME", "config"},
                                               {"XDG_DATA_HOME", "data"},
                                               {"XDG_STATE_HOME", "state"},
                                               {"XDG_RUNTIME_DIR", "run"}}) {
            fs::create_directories(home_ / folder);
            fs::permissions(home_ / folder, fs::perms::owner_all);
            setVariable(variable, home_ / folder);
        }
        // A tray test would need a desktop; the application must run on without one.
        setVariable("QT_QPA_PLATFORM", "offscreen");
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS"})
            setVariable(name, std::nullopt);
    }

    ~ApplicationTest() override {
        endApplications();
        for (const auto& [name, value] : saved_)
            put(name, value);
    }

    fs::path settingsFile() const { return home_ / "config/ostrel/com.ostrel.agent.json"; }
    std::string log() const { return testing::readFile(home_ / "state/ostrel/ostrel.log"); }

    ProcessOutput ostrel(const std::vector<std::string>& arguments) const {
        return runProcess(executable_, arguments).value();
    }

    // The live processes that listen on the channel now.
    std::vector<pid_t> listeners() const {
        std::vector<pid_t> pids;
        std::error_code ignored;
        for (const auto& entry : fs::directory_iterator(home_ / "run/ostrel", ignored)) {
            if (entry.path().extension() != ".sock") continue;
            const pid_t pid = std::stoi(entry.path().stem().string());
            if (alive(pid)) pids.push_back(pid);
        }
        return pids;
    }

    // The pid of a listening instance other than `previous`, once there is one.
    std::optional<pid_t> awaitInstance(pid_t previous = 0) const {
        std::optional<pid_t> found;
        eventually([&] {
            for (const pid_t pid : listeners())
                if (pid != previous) found = pid;
            return found.has_value();
        });
        return found;
    }

    // The status report once it contains every fragment, or the last one seen.
    std::string awaitStatus(const std::vector<std::string>& fragments) const {
        std::string status;
        eventually([&] {
            status = ostrel({"--status"}).standardOutput;
            for (const auto& fragment : fragments)
                if (!contains(status, fragment)) return false;
            return true;
        });
        return status;
    }

    testing::TempDir home_;
    fs::path executable_;

  private:
    static void put(const std::string& name, const std::optional<std::string>& value) {
        value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    }
    // Set for the test's processes, restored after the test.
    void setVariable(const std::string& name, const std::optional<std::string>& value) {
        const char* old = std::getenv(name.c_str());
        saved_.try_emplace(name, old ? std::optional<std::string>(old) : std::nullopt);
        put(name, value);
    }

    // Every process running this test's copy: asked to end, then made to.
    void endApplications() const {
        std::vector<pid_t> started;
        for (const auto& entry : fs::directory_iterator("/proc")) {
            std::error_code error;
            const fs::path exe = fs::read_symlink(entry.path() / "exe", error);
            if (!error && exe == executable_) started.push_back(std::stoi(entry.path().filename()));
        }
        for (const pid_t pid : started)
            kill(pid, SIGTERM);
        for (const pid_t pid : started) {
            if (!eventually([&] { return !alive(pid); })) kill(pid, SIGKILL);
        }
    }

    std::map<std::string, std::optional<std::string>> saved_;
};

// One session of an administrator's, so that each step meets the state the last one left.
TEST_F(ApplicationTest, CommandsDriveLaunchedInstancesUntilQuitOrSigterm) {
    const auto help = ostrel({"--status", "-h"});
    EXPECT_EQ(help.exitStatus, 0);
    EXPECT_EQ(help.standardOutput, helpText());
    const auto bad = ostrel({"--help", "--interval", "0"});
    EXPECT_EQ(bad.exitStatus, 1);
    EXPECT_EQ(bad.standardOutput, "Error: --interval must be between 1 and 3600 seconds\n");
    const auto alone = ostrel({"--watch", "a", "--duration", "5"});
    EXPECT_EQ(alone.exitStatus, 1);
    EXPECT_EQ(alone.standardOutput, "Error: --duration and --watch require --start\n");
    const auto status = ostrel({"--status"});
    EXPECT_EQ(status.exitStatus, 0);
    EXPECT_EQ(status.standardOutput, "Ostrel is not running\n");

    home_.write(settingsFile(), R"({"logLevel":1,"pinnedProcesses":["Safari"]})");
    const auto start = ostrel({"--start", "--interval", "1"});
    EXPECT_EQ(start.exitStatus, 0);
    EXPECT_EQ(
        start.standardOutput,
        "Collection interval set to 1 seconds\nApp launched - monitoring will start shortly\n");
    const auto pid = awaitInstance();
    ASSERT_TRUE(pid);
    const bool withModule = fs::exists(home_ / "libostrel_gui.so");
    // The launched instance found the pending start.
    const std::string running = awaitStatus({"Running: Yes", "Last collected: "});
    EXPECT_TRUE(
        running.starts_with("Ostrel Status\n==================\nRunning: Yes\n"
                            "Logging: Active\nStarted: "))
        << running;
    EXPECT_TRUE(contains(running,
                         "Collection interval: 1s\nDuration limit: Unlimited\n"
                         "UI Mode: Full\nRecords collected: "))
        << running;
    const auto again = ostrel({"--start", "--duration", "30"});
    EXPECT_TRUE(again.standardOutput.starts_with(
        "Duration limit set to 30 minutes\nCollection already running\n  Started: "))
        << again.standardOutput;
    EXPECT_TRUE(
        contains(again.standardOutput, "\n  Interval: 1s\n  Duration: 30m\n  Records collected: "));
    EXPECT_TRUE(again.standardOutput.ends_with("Settings updated: interval: 1s, duration: 30m\n"));
    // The session's duration went to the capture before the reply and is forgotten.
    EXPECT_FALSE(contains(testing::readFile(settingsFile()), "captureDurationMinutes"));
    EXPECT_TRUE(contains(awaitStatus({"Scheduled Stop: "}), "Duration limit: 30 minutes\n"));

    EXPECT_EQ(ostrel({"--clear-pins"}).standardOutput, "Pinned processes cleared\n");
    EXPECT_FALSE(contains(testing::readFile(settingsFile()), "Safari"));

    if (withModule) {
        EXPECT_TRUE(contains(mappedFiles(*pid), "libQt6Widgets"));
    }

    EXPECT_EQ(ostrel({"--stop"}).standardOutput,
              "Stop command sent — collection stopped (app stays running)\n");
    EXPECT_TRUE(contains(awaitStatus({"Running: No"}), "Logging: Stopped\n"));
    EXPECT_TRUE(alive(*pid));

    // A client without XDG_RUNTIME_DIR (su, cron) on a machine without a runtime folder of the
    // user's looks in another folder: it must say that nothing took the command. Where the
    // user has one, that folder is the real session's, which a test must not touch.
    if (!fs::exists("/run/user/" + std::to_string(geteuid()))) {
        const auto runtime = std::getenv("XDG_RUNTIME_DIR");
        const std::string saved = runtime ? runtime : "";
        unsetenv("XDG_RUNTIME_DIR");
        EXPECT_EQ(ostrel({"--quit"}).standardOutput, "App is not running\n");
        EXPECT_EQ(ostrel({"--status"}).standardOutput, "Ostrel is not running\n");
        setenv("XDG_RUNTIME_DIR", saved.c_str(), 1);
        EXPECT_TRUE(alive(*pid));
    }

    // A second launch (a menu entry clicked while the agent runs) hands its pending command over
    // and ends; the one instance starts collecting again.
    ASSERT_TRUE(FilePreferencesStore(settingsFile(), home_ / "none.json")
                    .set(CommandProtocol::pendingCommandKey, "start"));
    const auto second = ostrel({});
    EXPECT_EQ(second.exitStatus, 0);
    EXPECT_EQ(second.standardOutput, "");
    awaitStatus({"Running: Yes"});
    EXPECT_FALSE(contains(testing::readFile(settingsFile()), "\"com.ostrel.agent.command\""));
    EXPECT_EQ(listeners(), std::vector<pid_t>{*pid});

    EXPECT_EQ(ostrel({"--headless"}).standardOutput,
              "Headless mode enabled\nApp restarted with headless mode enabled\n");
    EXPECT_TRUE(eventually([&] { return !alive(*pid); }));
    const auto headless = awaitInstance(*pid);
    ASSERT_TRUE(headless);
    // Headless mode starts collecting by itself.
    EXPECT_TRUE(contains(awaitStatus({"Running: Yes"}), "UI Mode: Headless (no UI)\n"));
    // The desktop module, and Qt with it, is opened only where a user interface may show.
    EXPECT_FALSE(contains(mappedFiles(*headless), "libQt6")) << mappedFiles(*headless);

    EXPECT_EQ(ostrel({"--quit"}).standardOutput, "Quit command sent\n");
    EXPECT_TRUE(eventually([&] { return !alive(*headless); }));

    ASSERT_TRUE(makeAppLauncher(executable_)->launchApplication());
    const auto last = awaitInstance(*headless);
    ASSERT_TRUE(last);
    awaitStatus({"Running: Yes"});
    ASSERT_EQ(kill(*last, SIGTERM), 0);
    EXPECT_TRUE(eventually([&] { return !alive(*last); }));

    // The log is written out at termination, so the whole story is there now.
    const std::string story = log();
    EXPECT_TRUE(contains(story, "Found pending command: start")) << story;
    EXPECT_TRUE(contains(story,
                         "[INFO] [general] Ostrel is already running; handed the pending "
                         "command start over to it and this launch ends\n"))
        << story;
    EXPECT_TRUE(contains(story, "Executing clear-pins command")) << story;
    EXPECT_TRUE(contains(story, "Running in headless mode (no menu bar icon)")) << story;
    // Offscreen has no tray: the module said so, and the application ran on.
    if (withModule) {
        EXPECT_TRUE(contains(story, "No menu bar icon (the desktop shows no system tray)"))
            << story;
    }
    // Each of the three ends, by the headless switch, --quit and the signal, said so.
    const std::string shutdown = "[INFO] [general] Application shutdown complete\n";
    size_t shutdowns = 0;
    for (auto at = story.find(shutdown); at != std::string::npos; at = story.find(shutdown, at + 1))
        ++shutdowns;
    EXPECT_EQ(shutdowns, 3u) << story;
    EXPECT_TRUE(story.ends_with(shutdown)) << story;
}

}  // namespace
}  // namespace ostrel
