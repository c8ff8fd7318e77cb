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
#include <thread>

#include "support/temp_dir.h"

namespace ostrel {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

// Collects what a listener receives and lets the test wait for a number of dictionaries.
class Inbox {
  public:
    CommandReceiver receiver() {
        return [this](PreferenceDictionary userInfo) {
            std::lock_guard lock(mutex_);
            received_.push_back(std::move(userInfo));
            changed_.notify_all();
        };
    }
    // A guard against a lost datagram, not a measurement.
    std::vector<PreferenceDictionary> waitFor(size_t count) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, 10s, [&] { return received_.size() >= count; });
        return received_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<PreferenceDictionary> received_;
};

// A plain datagram socket bound at `path`, standing in for another instance.
int boundSocket(const fs::path& path) {
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return fd;
}

void sendRaw(const fs::path& path, std::string_view payload) {
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(sendto(fd, payload.data(), payload.size(), 0, reinterpret_cast<sockaddr*>(&address),
                     sizeof address),
              ssize_t(payload.size()));
    close(fd);
}

pid_t deadProcess() {
    const pid_t child = fork();
    if (child == 0) _exit(0);
    waitpid(child, nullptr, 0);
    return child;
}

fs::path ownSocket(const fs::path& folder) {
    return folder / (std::to_string(getpid()) + ".sock");
}

TEST(CommandChannel, ListenerHoldsTheRunningMarkAcrossProcessesUntilDestroyed) {
    testing::TempDir temp;
    const fs::path folder = temp / "run";
    auto channel = makeCommandChannel(folder);
    EXPECT_FALSE(channel->instanceRunning());
    EXPECT_EQ(channel->post({{"command", "stop"}}), 0u);

    Inbox inbox;
    auto listener = channel->listen(inbox.receiver());
    ASSERT_TRUE(listener.has_value()) << listener.error();
    EXPECT_TRUE(channel->instanceRunning());
    EXPECT_TRUE(makeCommandChannel(folder)->instanceRunning());

    // Another process sees the mark and reaches the listener.
    const pid_t child = fork();
    if (child == 0) {
        auto other = makeCommandChannel(folder);
        const bool ok = other->instanceRunning() && other->post({{"command", "from child"}}) == 1;
        _exit(ok ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(inbox.waitFor(1).at(0), (PreferenceDictionary{{"command", "from child"}}));

    listener->reset();
    EXPECT_FALSE(channel->instanceRunning());
    EXPECT_FALSE(fs::exists(ownSocket(folder)));
}

TEST(CommandChannel, FolderIsMadePrivateToTheUser) {
    testing::TempDir temp;
    const fs::path folder = temp / "run";
    fs::create_directories(folder);
    chmod(folder.c_str(), 0755);
    auto listener = makeCommandChannel(folder)->listen([](PreferenceDictionary) {});
    ASSERT_TRUE(listener.has_value());
    struct stat info {};
    ASSERT_EQ(stat(folder.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);

    fs::create_directory_symlink(folder, temp / "link");
    EXPECT_FALSE(
        makeCommandChannel(temp / "link")->listen([](PreferenceDictionary) {}).has_value());
}

TEST(CommandChannel, PostReachesEverySocketAndRemovesThoseOfDeadProcesses) {
    testing::TempDir temp;
    const fs::path folder = temp / "run";
    auto channel = makeCommandChannel(folder);
    Inbox inbox;
    auto listener = channel->listen(inbox.receiver());
    ASSERT_TRUE(listener.has_value());

    // A second live instance, a crashed one, one whose pid went to an unrelated process, and a
    // file that is none of ours.
    const fs::path other = folder / (std::to_string(getppid()) + ".sock");
    const int otherFd = boundSocket(other);
    const fs::path dead = folder / (std::to_string(deadProcess()) + ".sock");
    close(boundSocket(dead));
    testing::TempDir spare;
    const fs::path reused = folder / "1.sock";
    close(boundSocket(reused));
    const fs::path unrelated = temp.write("run/notes.sock.txt", "x");

    EXPECT_EQ(channel->post({{"command", "status"}, {"intervalSeconds", 3}}), 2u);
    EXPECT_EQ(inbox.waitFor(1).at(0),
              (PreferenceDictionary{{"command", "status"}, {"intervalSeconds", 3}}));
    char buffer[256];
    const ssize_t length = recv(otherFd, buffer, sizeof buffer, 0);
    EXPECT_EQ(std::string(buffer, size_t(std::max<ssize_t>(length, 0))),
              R"({"command":"status","intervalSeconds":3})");
    close(otherFd);

    EXPECT_FALSE(fs::exists(dead));
    EXPECT_FALSE(fs::exists(reused));
    EXPECT_TRUE(fs::exists(unrelated));
    EXPECT_TRUE(fs::exists(other));
}

TEST(CommandChannel, DatagramsThatAreNoJsonObjectAreIgnored) {
    testing::TempDir temp;
    const fs::path folder = temp / "run";
    Inbox inbox;
    auto listener = makeCommandChannel(folder)->listen(inbox.receiver());
    ASSERT_TRUE(listener.has_value());
    for (std::string_view garbage :
         {"not json", "[1,2]", "\"command\"", R"({"command":)", "", R"({"command":null})"}) {
        sendRaw(ownSocket(folder), garbage);
    }
    sendRaw(ownSocket(folder), std::string(70 * 1024, ' ') + "{}");
    sendRaw(ownSocket(folder), R"({"command":"quit","n":[1,2.5,true]})");

    const auto received = inbox.waitFor(1);
    ASSERT_EQ(received.size(), 1u);
    EXPECT_EQ(received[0],
              (PreferenceDictionary{{"command", "quit"}, {"n", PreferenceArray{1, 2.5, true}}}));
}

TEST(CommandChannel, InstanceTakesTheLockOnceTheHolderLetsGo) {
    testing::TempDir temp;
    const fs::path folder = temp / "run";
    fs::create_directories(folder);
    const int held = open((folder / "instance.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(flock(held, LOCK_EX), 0);

    auto channel = makeCommandChannel(folder);
    auto listener = channel->listen([](PreferenceDictionary) {});
    ASSERT_TRUE(listener.has_value());
    close(held);
    // Eventually, not at once: the listener tries again at intervals.
    bool running = false;
    for (int i = 0; i < 500 && !running; ++i) {
        std::this_thread::sleep_for(10ms);
        running = channel->instanceRunning();
    }
    EXPECT_TRUE(running);
}

}  // namespace
}  // namespace ostrel
