#include "platform/command_channel.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <condition_variable>
#include <cstring>
#include <mutex>

#include "platform/app_paths.h"
#include "support/temp_dir.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

// Collects what a listener receives; waitFor guards against a lost datagram, it measures nothing.
struct Inbox {
    CommandReceiver receiver() {
        return [this](PreferenceDictionary userInfo) {
            std::lock_guard lock(mutex);
            received.push_back(std::move(userInfo));
            changed.notify_all();
        };
    }
    std::vector<PreferenceDictionary> waitFor(size_t count) {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, 10s, [&] { return received.size() >= count; });
        return received;
    }
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<PreferenceDictionary> received;
};

// A plain datagram socket at `path`: bound (standing in for another instance) or only sending.
int datagramSocket(const fs::path& path, bool bindIt, std::string_view payload = {}) {
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{.sun_family = AF_UNIX};
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const auto* raw = reinterpret_cast<sockaddr*>(&address);
    if (bindIt) {
        EXPECT_EQ(bind(fd, raw, sizeof address), 0);
    } else {
        sendto(fd, payload.data(), payload.size(), 0, raw, sizeof address);
    }
    return fd;
}

class CommandChannelTest : public ::testing::Test {
  protected:
    fs::path socketOf(pid_t pid) const { return folder / (std::to_string(pid) + ".sock"); }

    testing::TempDir temp;
    fs::path folder = temp / "run";
    std::unique_ptr<CommandChannel> channel = makeCommandChannel(folder);
    Inbox inbox;
};

TEST_F(CommandChannelTest, OneClaimAtATimeAndListeningIsSeparate) {
    EXPECT_FALSE(channel->instanceRunning());
    EXPECT_EQ(channel->post({{"command", "stop"}}), 0u);
    fs::create_directories(folder);
    chmod(folder.c_str(), 0755);
    auto claim = channel->claimInstance();
    ASSERT_TRUE(claim.has_value()) << claim.error();
    ASSERT_TRUE(*claim);
    struct stat info {};
    stat(folder.c_str(), &info);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    // Running from the claim on, before any listening.
    EXPECT_TRUE(makeCommandChannel(folder)->instanceRunning());
    EXPECT_EQ(makeCommandChannel(folder)->claimInstance().value(), nullptr);

    // Another process's listener counts; this process's own and a stale socket do not.
    auto listener = channel->listen(inbox.receiver());
    ASSERT_TRUE(listener.has_value()) << listener.error();
    EXPECT_FALSE(channel->otherInstanceListening());
    close(datagramSocket(socketOf(getppid()), true));
    EXPECT_FALSE(channel->otherInstanceListening());
    fs::remove(socketOf(getppid()));
    const int otherFd = datagramSocket(socketOf(getppid()), true);
    EXPECT_TRUE(channel->otherInstanceListening());
    close(otherFd);

    listener->reset();
    EXPECT_FALSE(fs::exists(socketOf(getpid())));
    EXPECT_TRUE(channel->instanceRunning());
    claim->reset();
    EXPECT_FALSE(channel->instanceRunning());
    EXPECT_TRUE(makeCommandChannel(folder)->claimInstance().value());
    fs::create_directory_symlink(folder, temp / "link");
    EXPECT_FALSE(makeCommandChannel(temp / "link")->claimInstance().has_value());
    EXPECT_FALSE(makeCommandChannel(temp / "link")->listen(inbox.receiver()).has_value());
}

// A client without XDG_RUNTIME_DIR (su, sudo -u, cron) meets the instance of the session
// that has it.
TEST_F(CommandChannelTest, FolderIsTheUsersRuntimeFolderWithOrWithoutTheVariable) {
    const std::string saved = std::getenv("XDG_RUNTIME_DIR");
    const fs::path root = temp / "run-user";
    const fs::path own = root / std::to_string(geteuid());
    unsetenv("XDG_RUNTIME_DIR");
    const fs::path fallback = paths::commandChannelDirectory(root);
    EXPECT_EQ(fallback, fs::path(std::getenv("XDG_STATE_HOME")) / "ostrel/run");
    fs::create_directories(own);
    EXPECT_EQ(paths::commandChannelDirectory(root), own / "ostrel");
    setenv("XDG_RUNTIME_DIR", own.c_str(), 1);
    EXPECT_EQ(paths::commandChannelDirectory(root), own / "ostrel");
    // Another user's folder of that name is not this user's runtime folder; only root can
    // make one.
    unsetenv("XDG_RUNTIME_DIR");
    if (geteuid() == 0 && chown(own.c_str(), 1, 1) == 0) {
        EXPECT_EQ(paths::commandChannelDirectory(root), fallback);
    }
    setenv("XDG_RUNTIME_DIR", saved.c_str(), 1);
}

TEST_F(CommandChannelTest, PostReachesEverySocketAndRemovesThoseOfDeadProcesses) {
    auto listener = channel->listen(inbox.receiver());
    ASSERT_TRUE(listener.has_value());
    // A second live instance, a crashed one, one whose pid now belongs to an unrelated
    // process, and a file that is none of ours.
    const int otherFd = datagramSocket(socketOf(getppid()), true);
    const pid_t dead = fork();
    if (dead == 0) _exit(0);
    waitpid(dead, nullptr, 0);
    close(datagramSocket(socketOf(dead), true));
    close(datagramSocket(socketOf(1), true));
    const fs::path unrelated = temp.write("run/notes.sock.txt", "x");

    EXPECT_EQ(channel->post({{"command", "status"}, {"intervalSeconds", 3}}), 2u);
    EXPECT_EQ(inbox.waitFor(1).at(0),
              (PreferenceDictionary{{"command", "status"}, {"intervalSeconds", 3}}));
    char buffer[256];
    const ssize_t length = recv(otherFd, buffer, sizeof buffer, 0);
    EXPECT_EQ(std::string(buffer, size_t(std::max<ssize_t>(length, 0))),
              "{\"command\":\"status\",\"intervalSeconds\":3}\n");
    close(otherFd);
    EXPECT_FALSE(fs::exists(socketOf(dead)));
    EXPECT_FALSE(fs::exists(socketOf(1)));
    EXPECT_TRUE(fs::exists(unrelated));
}

TEST_F(CommandChannelTest, DatagramsThatAreNoJsonObjectAreIgnored) {
    auto listener = channel->listen(inbox.receiver());
    ASSERT_TRUE(listener.has_value());
    const std::string oversized = std::string(70 * 1024, ' ') + "{}";
    const std::vector<std::string> payloads{"not json", "[1,2]",   R"({"command":)",       "",
                                            "null",     oversized, R"({"command":"quit"})"};
    for (const std::string& payload : payloads) {
        close(datagramSocket(socketOf(getpid()), false, payload));
    }
    const auto received = inbox.waitFor(1);
    const std::vector<PreferenceDictionary> onlyTheObject{{{"command", "quit"}}};
    EXPECT_EQ(received, onlyTheObject);
}

}  // namespace
}  // namespace ostrel
