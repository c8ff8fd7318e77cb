// The command channel as a folder private to the user: the running application holds an flock
// on "instance.lock" there from its launch to its end, and receives JSON datagrams on
// "<pid>.sock"; a client sends each command to every socket there. The kernel vouches for each
// sender's uid (SCM_CREDENTIALS), so only the same user can give commands, even where the
// folder's permissions have been loosened.
#include "platform/command_channel.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <thread>
#include <vector>

#include "platform/linux/preferences_json.h"
#include "platform/linux/unique_fd.h"

namespace ostrel {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLockName = "instance.lock";
constexpr std::string_view kSocketSuffix = ".sock";
// Far above any command; a larger datagram arrives truncated and is dropped.
constexpr size_t kMaxDatagram = 64 * 1024;

std::string failure(std::string_view what, const fs::path& path) {
    return std::string(what) + " " + path.string() + ": " + std::strerror(errno);
}

bool ownedByThisUser(const fs::path& directory) {
    struct stat info {};
    return lstat(directory.c_str(), &info) == 0 && S_ISDIR(info.st_mode) &&
           info.st_uid == geteuid();
}

tl::expected<void, std::string> makePrivateDirectory(const fs::path& directory) {
    std::error_code ignored;
    fs::create_directories(directory.parent_path(), ignored);
    if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) {
        return tl::unexpected(failure("Cannot create", directory));
    }
    if (!ownedByThisUser(directory)) {
        return tl::unexpected("Not a folder of this user: " + directory.string());
    }
    if (chmod(directory.c_str(), 0700) != 0)
        return tl::unexpected(failure("Cannot protect", directory));
    return {};
}

std::optional<sockaddr_un> socketAddress(const fs::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string& text = path.native();
    if (text.size() >= sizeof address.sun_path) return std::nullopt;
    std::memcpy(address.sun_path, text.c_str(), text.size() + 1);
    return address;
}

// "<pid>.sock" names a listener; anything else in the folder is not ours to touch.
std::optional<pid_t> listenerProcess(const fs::path& path) {
    const std::string name = path.filename().string();
    if (!name.ends_with(kSocketSuffix) || name.size() == kSocketSuffix.size()) return std::nullopt;
    pid_t pid = 0;
    for (char c : std::string_view(name).substr(0, name.size() - kSocketSuffix.size())) {
        if (c < '0' || c > '9' || pid > 100'000'000) return std::nullopt;
        pid = pid * 10 + (c - '0');
    }
    return pid > 0 ? std::optional(pid) : std::nullopt;
}

bool processExists(pid_t pid) {
    return kill(pid, 0) == 0 || errno == EPERM;
}

// Whether a process has bound `address`: connecting a datagram socket is refused otherwise.
bool someoneListensAt(const sockaddr_un& address) {
    const UniqueFd probe(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return probe &&
           connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

bool sentBySameUser(msghdr& message) {
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_CREDENTIALS &&
            header->cmsg_len >= CMSG_LEN(sizeof(ucred))) {
            ucred credentials{};
            std::memcpy(&credentials, CMSG_DATA(header), sizeof credentials);
            return credentials.uid == geteuid();
        }
    }
    return false;
}

class LinuxCommandListener : public CommandListener {
  public:
    LinuxCommandListener(fs::path socketPath, UniqueFd socket, UniqueFd wake,
                         CommandReceiver receiver)
        : socketPath_(std::move(socketPath)),
          socket_(std::move(socket)),
          wake_(std::move(wake)),
          receiver_(std::move(receiver)),
          buffer_(kMaxDatagram) {
        thread_ = std::thread([this] {
            pthread_setname_np(pthread_self(), "ostrel-commands");
            run();
        });
    }

    ~LinuxCommandListener() override {
        const uint64_t one = 1;
        [[maybe_unused]] const auto written = write(wake_.get(), &one, sizeof one);
        thread_.join();
        unlink(socketPath_.c_str());
    }

  private:
    void run() {
        pollfd watched[2] = {{socket_.get(), POLLIN, 0}, {wake_.get(), POLLIN, 0}};
        while (true) {
            if (poll(watched, 2, -1) < 0 && errno != EINTR) return;
            if (watched[1].revents != 0) return;
            if (watched[0].revents & POLLIN) receiveOne();
        }
    }

    // Whatever is not a JSON object from this user is dropped without an answer.
    void receiveOne() {
        iovec data{buffer_.data(), buffer_.size()};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))];
        msghdr message{};
        message.msg_iov = &data;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        const ssize_t length = recvmsg(socket_.get(), &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
        if (length < 0 || (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0) return;
        if (!sentBySameUser(message)) return;
        auto userInfo = parsePreferences(std::string_view(buffer_.data(), size_t(length)));
        if (userInfo) receiver_(std::move(*userInfo));
    }

    fs::path socketPath_;
    UniqueFd socket_;
    UniqueFd wake_;
    CommandReceiver receiver_;
    std::vector<char> buffer_;
    std::thread thread_;
};

class LockClaim : public InstanceClaim {
  public:
    explicit LockClaim(UniqueFd lock) : lock_(std::move(lock)) {}

  private:
    UniqueFd lock_;  // the flock goes with the descriptor
};

class LinuxCommandChannel : public CommandChannel {
  public:
    explicit LinuxCommandChannel(fs::path directory) : directory_(std::move(directory)) {}

    bool instanceRunning() const override {
        const UniqueFd lock(
            open((directory_ / kLockName).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
        if (!lock) return false;
        // A shared lock is refused exactly while an instance holds its exclusive one; ours is
        // given back at once.
        if (flock(lock.get(), LOCK_SH | LOCK_NB) == 0) return false;
        return errno == EWOULDBLOCK;
    }

    bool otherInstanceListening() const override {
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(directory_, error)) {
            const auto pid = listenerProcess(entry.path());
            const auto address = socketAddress(entry.path());
            if (pid && address && *pid != getpid() && someoneListensAt(*address)) return true;
        }
        return false;
    }

    tl::expected<std::unique_ptr<InstanceClaim>, std::string> claimInstance() override {
        if (auto prepared = makePrivateDirectory(directory_); !prepared) {
            return tl::unexpected(prepared.error());
        }
        const fs::path lockPath = directory_ / kLockName;
        UniqueFd lock(open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!lock) return tl::unexpected(failure("Cannot open", lockPath));
        if (flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno == EWOULDBLOCK) return nullptr;
            return tl::unexpected(failure("Cannot lock", lockPath));
        }
        return std::make_unique<LockClaim>(std::move(lock));
    }

    size_t post(const PreferenceDictionary& userInfo) override {
        const auto payload = encodePreferences(userInfo);
        if (!payload || !ownedByThisUser(directory_)) return 0;
        const UniqueFd sender(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        if (!sender) return 0;

        size_t delivered = 0;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(directory_, error)) {
            const auto pid = listenerProcess(entry.path());
            const auto address = socketAddress(entry.path());
            if (!pid || !address) continue;
            // Sockets of processes that died without cleaning up are removed on the way.
            if (!processExists(*pid)) {
                fs::remove(entry.path(), error);
                continue;
            }
            const ssize_t sent =
                sendto(sender.get(), payload->data(), payload->size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                       reinterpret_cast<const sockaddr*>(&*address), sizeof *address);
            if (sent == ssize_t(payload->size())) {
                ++delivered;
            } else if (errno == ECONNREFUSED) {
                // Nobody receives there any more: the pid now belongs to another process.
                fs::remove(entry.path(), error);
            }
        }
        return delivered;
    }

    tl::expected<std::unique_ptr<CommandListener>, std::string> listen(
        CommandReceiver receiver) override {
        if (auto prepared = makePrivateDirectory(directory_); !prepared) {
            return tl::unexpected(prepared.error());
        }
        const fs::path socketPath = directory_ / (std::to_string(getpid()) + ".sock");
        const auto address = socketAddress(socketPath);
        if (!address) return tl::unexpected("Path too long for a socket: " + socketPath.string());

        UniqueFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        const int on = 1;
        if (!socket || setsockopt(socket.get(), SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0) {
            return tl::unexpected(failure("Cannot open a socket for", socketPath));
        }
        // A file of our own pid is left from an earlier process that had it.
        unlink(socketPath.c_str());
        if (bind(socket.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) !=
            0) {
            return tl::unexpected(failure("Cannot bind", socketPath));
        }
        UniqueFd wake(eventfd(0, EFD_CLOEXEC));
        if (!wake) {
            const std::string reason = failure("Cannot make a wake-up event for", socketPath);
            unlink(socketPath.c_str());
            return tl::unexpected(reason);
        }
        return std::make_unique<LinuxCommandListener>(socketPath, std::move(socket),
                                                      std::move(wake), std::move(receiver));
    }

  private:
    fs::path directory_;
};

}  // namespace

std::unique_ptr<CommandChannel> makeCommandChannel(std::filesystem::path directory) {
    return std::make_unique<LinuxCommandChannel>(std::move(directory));
}

}  // namespace ostrel
